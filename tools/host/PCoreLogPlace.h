// SPDX-License-Identifier: MIT
// PCoreLogPlace: where the core writes its log, and where the host reads it.
#ifndef IXLAL_TOOLS_PCORELOGPLACE_H
#define IXLAL_TOOLS_PCORELOGPLACE_H

#include "host/PHostOptions.h"
#include "shared/PFileDescriptor.h"

#include <string>
#include <vector>

/// The host learns from the core's log what the core does. Without core.log.file, the core writes
/// the log into memory of the host, until the host is ready.
class PCoreLogPlace
{
public:
    /// Create the object before the start of the core, in its working directory.
    explicit PCoreLogPlace(const PHostOptions& iOptions);

    PCoreLogPlace(const PCoreLogPlace&) = delete;
    PCoreLogPlace& operator=(const PCoreLogPlace&) = delete;

    /// The arguments of the core: those of the command line, and one that names the memory.
    const std::vector<PString>& arguments() const;

    /// The value of core.log.file; empty without one.
    const std::string& file() const;

    /// The absolute path of the log, of the memory too; empty if the core writes none.
    const std::string& path() const;

    /// Whether the core writes lines that are no errors.
    bool hasDetails() const;

    /// Makes the core lose all further lines, so that the memory does not grow. Does nothing for a
    /// file.
    void endMemory();

private:
    void openMemory();

    std::string fFile;
    std::string fPath;
    std::vector<PString> fArguments;
    bool fHasDetails;
    PFileDescriptor fMemory;
};

#endif
