// SPDX-License-Identifier: MIT
// LogOrder: checks the order of lines in a log file.
#ifndef IXLAL_TESTS_LOGORDER_H
#define IXLAL_TESTS_LOGORDER_H

#include <fstream>
#include <string>
#include <vector>

/// The first of iTexts that no line after the line of its predecessor contains; empty when the file
/// contains all of them in this order. Other lines may be between them.
inline std::string firstOutOfOrder(const std::string& iFile, const std::vector<std::string>& iTexts)
{
    std::ifstream log(iFile);
    std::string line;
    for (const std::string& text : iTexts)
    {
        bool found = false;
        while (!found && std::getline(log, line))
        {
            found = line.find(text) != std::string::npos;
        }
        if (!found)
        {
            return text;
        }
    }
    return "";
}

#endif
