// SPDX-License-Identifier: MIT
// PMemoryFinding: a memory error of a plugin.
#ifndef IXLAL_TOOLS_PMEMORYFINDING_H
#define IXLAL_TOOLS_PMEMORYFINDING_H

#include <string>

struct PMemoryFinding
{
    /// A finding at a place in the plugin. Function and file may be empty.
    static PMemoryFinding at(const std::string& iWhat, const std::string& iFunction,
                             const std::string& iFile, unsigned int iLine)
    {
        const std::size_t name = iFile.rfind('/') + 1; // 0 without a directory
        std::string text = iWhat + (iFunction.empty() ? "" : " in " + iFunction);
        if (!iFile.empty())
        {
            text += " (" + iFile.substr(name) + ":" + std::to_string(iLine) + ")";
        }
        return {text, iFile, iLine};
    }

    std::string text;
    std::string source; ///< empty if it is not known
    unsigned int line = 0;
};

#endif
