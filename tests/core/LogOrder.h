// SPDX-License-Identifier: MIT
// LogOrder: checks in which order lines stand in a log file.
#ifndef IXLAL_TESTS_LOGORDER_H
#define IXLAL_TESTS_LOGORDER_H

#include <fstream>
#include <string>
#include <vector>

/// The first of iTexts that no line behind the line of its predecessor holds; empty when all stand
/// in the file in this order, with other lines between them or not.
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
