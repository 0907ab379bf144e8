// SPDX-License-Identifier: MIT
// PScratch: temporary directories for a core without plugins.
#ifndef IXLAL_TOOLS_PSCRATCH_H
#define IXLAL_TOOLS_PSCRATCH_H

#include <filesystem>
#include <string>

/// A temporary directory without plugins, with a log directory and a configuration that lists no
/// ID. The destructor removes it.
class PScratch
{
public:
    /// Throws PToolError when temporary files cannot be created.
    PScratch();
    ~PScratch();

    PScratch(const PScratch&) = delete;
    PScratch& operator=(const PScratch&) = delete;

    std::string pluginsDir() const;
    std::string logDir() const;
    std::string configDir() const;

    /// The path of the configuration's store.
    std::string storeFile() const;

    /// The path of a file that does not exist.
    std::string unusedFile() const;

private:
    std::filesystem::path fPath;
};

#endif
