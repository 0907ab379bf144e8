// SPDX-License-Identifier: MIT
// PProcessState: what a process holds, as the kernel shows it.
#ifndef IXLAL_TOOLS_PPROCESSSTATE_H
#define IXLAL_TOOLS_PPROCESSSTATE_H

#include <map>
#include <string>
#include <vector>

struct PProcessState
{
    /// The process that calls.
    static PProcessState read();

    /// Whether a file is mapped, by its device and inode: its name may have changed.
    static bool isMapped(const std::string& iFile);

    /// What is here and not in iEarlier, as texts for people.
    std::vector<std::string> since(const PProcessState& iEarlier) const;

    /// A name is for people; what makes it the same thing stays when it is renamed or removed.
    struct PHeld
    {
        std::string name;
        std::string identity;
    };

    std::map<std::string, PHeld> threads; ///< by thread number
    std::map<std::string, PHeld> handles; ///< by number
};

#endif
