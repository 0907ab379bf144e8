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

    std::map<std::string, std::string> threads; ///< names by thread number
    std::map<std::string, std::string> handles; ///< what they stand for, by number
};

#endif
