// SPDX-License-Identifier: MIT
// PPluginCopies: private copies of the plugins directory, one for each start of the core.
#ifndef IXLAL_TOOLS_PPLUGINCOPIES_H
#define IXLAL_TOOLS_PPLUGINCOPIES_H

#include <string>
#include <vector>

/// A library that is overwritten while a process has it loaded crashes the process. The loader also
/// uses a library that is still loaded instead of a new file of the same name. Therefore the core
/// loads a copy, and each copy of the directory is in a directory of its own, below one of the
/// process in the directory for temporary files.
class PPluginCopies
{
public:
    /// A library of an earlier copy that is still loaded.
    struct Remainder
    {
        std::string library; ///< without its directory
        bool isUsed;         ///< whether libraries of the current copy need it
    };

    /// Creates the directory of the process. Throws std::system_error or std::runtime_error.
    PPluginCopies();

    /// Removes all copies.
    ~PPluginCopies();

    PPluginCopies(const PPluginCopies&) = delete;
    PPluginCopies& operator=(const PPluginCopies&) = delete;

    /// Copies the libraries of a directory, and links its other files. Returns the new directory,
    /// or an empty path if there is no such directory. Throws std::system_error.
    std::string copy(const std::string& iDirectory);

    /// Whether a file of the plugins directory is copied. The core loads some of these files;
    /// others are libraries that plugins need.
    static bool isLibrary(const std::string& iName);

    /// Removes a copy that is not loaded.
    static void remove(const std::string& iCopy);

    /// Call it before the core loads a copy, which becomes the current one.
    void use(const std::string& iCopy);

    /// Removes all earlier copies that are not loaded. Returns the libraries of the previous copy
    /// that are loaded, and those of all earlier ones that are used.
    std::vector<Remainder> removeEarlier();

    /// [any thread]
    void removeAll() const;

private:
    std::string fBase;
    unsigned int fCount = 0;
    std::vector<std::string> fUsed; ///< copies that may be loaded; the last one is the current one
};

#endif
