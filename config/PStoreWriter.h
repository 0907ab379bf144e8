// SPDX-License-Identifier: MIT
// PStoreWriter: writes the store file.
#ifndef IXLAL_PSTOREWRITER_H
#define IXLAL_PSTOREWRITER_H

#include "config/PConfigValues.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PString.h"

/// Writes records as configuration text: for each key the line "key = value" and then, for each
/// attribute, "key:attribute = text". For one file; no member throws.
class PStoreWriter
{
public:
    PStoreWriter() = default;

    PStoreWriter(const PStoreWriter&) = delete;
    PStoreWriter& operator=(const PStoreWriter&) = delete;

    /// Reserves memory for every line of iValues, so that writing cannot fail for lack of memory
    /// after the old file is deleted. The records must not change until they are written. Returns 0
    /// or -501.
    int prepare(const PConfigValues& iValues) noexcept;

    /// Creates the file with access for its owner only. Returns 0 or the code of opening.
    int create(const PLiteral& iPath) noexcept;

    /// Writes the records and closes the file. Returns 0 or the first error.
    int write() noexcept;

private:
    int writeRecord(const PLiteral& iKey, const PConfigValue& iRecord) noexcept;

    PConfigValues::Records fRecords; ///< in the order of the lines
    PString fLine;
    PFile fFile;
};

#endif
