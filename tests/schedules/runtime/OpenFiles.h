// SPDX-License-Identifier: MIT
// OpenFiles: the files that the process at a checkpoint shares with its children.
#ifndef IXLAL_SCHEDULES_OPENFILES_H
#define IXLAL_SCHEDULES_OPENFILES_H

namespace schedules
{
class OpenFiles
{
public:
    /// Remembers where each one is, but for iOwn and iOther. False when one of them is a stream,
    /// of which nothing can be brought back.
    static bool remember(int iOwn, int iOther);

    /// Moves each one to its place, and releases its lock.
    static void restore();
};
} // namespace schedules

#endif
