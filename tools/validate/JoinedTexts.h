// SPDX-License-Identifier: MIT
// joinedTexts: one text for several findings.
#ifndef IXLAL_TOOLS_JOINEDTEXTS_H
#define IXLAL_TOOLS_JOINEDTEXTS_H

#include <string>
#include <vector>

/// The texts with commas between them.
inline std::string joinedTexts(const std::vector<std::string>& iTexts)
{
    std::string joined;
    for (const std::string& text : iTexts)
    {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

#endif
