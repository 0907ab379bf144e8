// SPDX-License-Identifier: MIT
// PProcessState: the threads, handles and timers of a process.
#ifndef IXLAL_TOOLS_PPROCESSSTATE_H
#define IXLAL_TOOLS_PPROCESSSTATE_H

#include <map>
#include <string>
#include <vector>

struct PProcessState
{
    /// The state of the calling process.
    static PProcessState read();

    /// Whether a file is mapped. Compares device and inode, because the name may have changed.
    static bool isMapped(const std::string& iFile);

    /// The names of the threads, handles and timers that are not in iEarlier.
    std::vector<std::string> since(const PProcessState& iEarlier) const;

    /// A name for messages, and an identity that does not change when the object is renamed or
    /// removed.
    struct PHeld
    {
        std::string name;
        std::string identity;
    };

    std::map<std::string, PHeld> threads; ///< by thread number
    std::map<std::string, PHeld> handles; ///< by number
    /// By number those of timer_create, which only some kernels list; and the one of setitimer that
    /// sends SIGALRM, which alarm sets too.
    std::map<std::string, PHeld> timers;
};

#endif
