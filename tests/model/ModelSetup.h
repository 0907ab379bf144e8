// SPDX-License-Identifier: MIT
// ModelSetup: the initial state of system and model in an episode.
#ifndef IXLAL_TESTS_MODELSETUP_H
#define IXLAL_TESTS_MODELSETUP_H

#include <map>
#include <string>
#include <vector>

struct ModelSetup
{
    /// The directory with config/, log/ and the redirected file.
    std::string dir;
    bool logsEnabled = true;
    int logLevel = 1;

    std::string configDir() const
    {
        return dir + "/config";
    }

    /// The file of this number. The last one is never written; kRedirected is redirected to the one
    /// before it.
    std::string filePath(unsigned int iFile) const
    {
        return iFile == 3 ? dir + "/other.prs"
                          : configDir() + "/f" + std::to_string(iFile) + ".prs";
    }

    static constexpr unsigned int kMissingFile = 4;
    static constexpr const char* kRedirected = "f3.prs";

    /// The files of the configuration IDs.
    static std::map<std::string, std::vector<std::string>> filesOfIds()
    {
        return {{"a", {"f0.prs", "f1.prs"}}, {"b", {"f2.prs", "f4.prs", "f3.prs", "f0.prs"}}};
    }
};

#endif
