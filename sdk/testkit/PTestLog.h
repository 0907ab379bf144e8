// SPDX-License-Identifier: MIT
// PTestLog: reads a log file for a test.
#ifndef IXLAL_SDK_PTESTLOG_H
#define IXLAL_SDK_PTESTLOG_H

#include "testkit/PTestError.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

/// Each operation reads the file again, also while it is being written. A file that does not exist
/// is an empty log.
class PTestLog
{
public:
    /// iFile need not exist yet.
    explicit PTestLog(std::filesystem::path iFile) : fFile(std::move(iFile))
    {
    }

    /// The lines so far, without line ends.
    std::vector<std::string> lines() const
    {
        std::ifstream in(fFile);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
        {
            lines.push_back(line);
        }
        return lines;
    }

    /// The lines so far that contain iText, in the order of the file.
    std::vector<std::string> find(const std::string& iText) const
    {
        std::vector<std::string> found = lines();
        found.erase(std::remove_if(found.begin(), found.end(),
                                   [&](const std::string& iLine)
                                   { return iLine.find(iText) == std::string::npos; }),
                    found.end());
        return found;
    }

    /// The lines so far without the date, time, process, thread and tag, which differ in each run:
    /// "E [jobs] Exception: no disk". The first letter is the kind: D, I or E.
    std::vector<std::string> texts() const
    {
        std::vector<std::string> texts;
        for (const std::string& line : lines())
        {
            texts.push_back(textOf(line));
        }
        return texts;
    }

    /// The error lines so far.
    std::vector<std::string> errors() const
    {
        std::vector<std::string> found = find(" E Core ");
        const std::vector<std::string> ofPlugins = find(" E pgs ");
        found.insert(found.end(), ofPlugins.begin(), ofPlugins.end());
        return found;
    }

    /// Waits for a line that contains iText and returns the first. Throws PTestError when there is
    /// none within iLimit.
    std::string waitFor(const std::string& iText,
                        std::chrono::milliseconds iLimit = std::chrono::seconds(5)) const
    {
        const auto end = std::chrono::steady_clock::now() + iLimit;
        for (;;)
        {
            const bool last = std::chrono::steady_clock::now() >= end;
            const std::vector<std::string> found = find(iText);
            if (!found.empty())
            {
                return found.front();
            }
            if (last)
            {
                throw PTestError("no line with \"" + iText + "\" in " + fFile.string() +
                                 " within " + std::to_string(iLimit.count()) +
                                 " ms; it ends with\n" + tail());
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    /// The last iCount lines as one indented text, for messages.
    std::string tail(std::size_t iCount = 10) const
    {
        const std::vector<std::string> all = lines();
        std::string text;
        for (std::size_t i = all.size() - std::min(all.size(), iCount); i < all.size(); ++i)
        {
            text += "    " + all[i] + "\n";
        }
        return text.empty() ? "    (nothing)\n" : text;
    }

    /// The path of the log file.
    const std::filesystem::path& file() const noexcept
    {
        return fFile;
    }

private:
    /// A line that is not in the form of the log is returned as it is.
    static std::string textOf(const std::string& iLine)
    {
        std::istringstream in(iLine);
        std::string date;
        std::string time;
        std::string thread;
        std::string kind;
        std::string tag;
        std::string text;
        if (!(in >> date >> time >> thread >> kind >> tag) || !std::getline(in, text))
        {
            return iLine;
        }
        return kind + text;
    }

    const std::filesystem::path fFile;
};

#endif
