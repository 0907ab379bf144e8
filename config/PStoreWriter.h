// SPDX-License-Identifier: MIT
// PStoreWriter: writes the store file.
#ifndef IXLAL_PSTOREWRITER_H
#define IXLAL_PSTOREWRITER_H

#include "config/PConfigValue.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PString.h"

/// Writes records as configuration text: for each key the line "key = value" and then, for each
/// attribute, "key:attribute = text". Serves one file; no member throws.
class PStoreWriter
{
public:
    PStoreWriter() = default;

    PStoreWriter(const PStoreWriter&) = delete;
    PStoreWriter& operator=(const PStoreWriter&) = delete;

    /// Makes room for every line of iValues, so that no memory is lacking once the old file is
    /// gone. Returns 0 or -501.
    int prepare(const PConfigValues& iValues) noexcept;

    /// Creates the file, for its owner alone. Returns 0 or the code of opening.
    int create(const PLiteral& iPath) noexcept;

    /// Writes the records and closes the file. Returns 0 or the first error.
    int write(const PConfigValues& iValues) noexcept;

private:
    int writeRecord(const PString& iKey, const PConfigValue& iRecord) noexcept;

    PString fLine;
    PFile fFile;
};

#endif
