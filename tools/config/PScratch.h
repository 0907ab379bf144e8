// SPDX-License-Identifier: MIT
// PScratch: the directories of a core that is only asked about configurations.
#ifndef IXLAL_TOOLS_PSCRATCH_H
#define IXLAL_TOOLS_PSCRATCH_H

#include <filesystem>
#include <string>

/// A temporary directory without plugins, with a place for logs and a configuration that lists no
/// ID. Goes with everything in it.
class PScratch
{
public:
    /// Throws PToolError when there is no place for temporary files.
    PScratch();
    ~PScratch();

    PScratch(const PScratch&) = delete;
    PScratch& operator=(const PScratch&) = delete;

    std::string pluginsDir() const;
    std::string logDir() const;
    std::string configDir() const;

    /// A file that isn't there.
    std::string unusedFile() const;

private:
    std::filesystem::path fPath;
};

#endif
