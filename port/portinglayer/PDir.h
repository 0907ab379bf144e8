// SPDX-License-Identifier: MIT
// PDir: the entries of a directory.
#ifndef IXLAL_PDIR_H
#define IXLAL_PDIR_H

#include "PExport.h"
#include "PString.h"
#include "PVectorLayout.h"

#include <vector>

/// Lists the bare names of the files in a directory that match a pattern of "*" and "?", in
/// ascending byte order, so that the order is the same on every file system. Directories are left
/// out; names that are not UTF-8 are mapped as PFile maps them. One PDir belongs to one thread.
class IXLA_EXPORT PDir
{
public:
    /// Copies both texts; may throw std::bad_alloc.
    PDir(const PLiteral& iDir, const PLiteral& iFilter);
    ~PDir();

    PDir(const PDir&) = delete;
    PDir& operator=(const PDir&) = delete;

    /// Reads the directory and makes its first entry the current one. Returns 0 or a negated errno;
    /// after a failure there are no entries.
    int preaddir() noexcept;

    /// Compares with the state of the listing, which is 0 while there is a current entry and 1 at
    /// the end.
    bool operator==(int iState) const noexcept;

    /// Moves to the next entry.
    PDir& operator++() noexcept;

    /// The file name of the current entry; empty at the end. Valid until the next preaddir.
    const PString& getEntry() const noexcept;

private:
    PString fDir;
    PString fFilter;
    std::vector<PString> fEntries;
    std::size_t fCurrent;
};

#endif
