// SPDX-License-Identifier: MIT
// PSubjectSearch: finds the libraries that the arguments name.
#ifndef IXLAL_TOOLS_PSUBJECTSEARCH_H
#define IXLAL_TOOLS_PSUBJECTSEARCH_H

#include "testkit/PTestDirectory.h"
#include "validate/PLibraryResult.h"
#include "validate/PSubject.h"

#include <filesystem>
#include <memory>
#include <string>
#include <variant>
#include <vector>

/// Takes libraries, directories and Debian packages. Packages stay unpacked as long as the object
/// exists.
class PSubjectSearch
{
public:
    /// A library to validate, or the failure of an argument.
    typedef std::variant<PSubject, PLibraryResult> Found;

    /// Appends what an argument names. Throws PTestError if there is no temporary directory.
    void add(const std::string& iArgument);

    /// In the order of the arguments, and by name in a directory or package.
    const std::vector<Found>& found() const;

    /// The libraries in directories and packages that are no plugins.
    const std::vector<std::string>& skipped() const;

    /// Whether the argument is neither a directory nor a package.
    static bool isLibrary(const std::string& iArgument);

private:
    void addDirectory(const std::string& iArgument);
    void addPackage(const std::string& iArgument);
    /// Sorts the files. iRoot is the part of their paths that is replaced by iShown in reports.
    void addFiles(const std::string& iArgument, std::vector<std::filesystem::path> iFiles,
                  const std::string& iRoot, const std::string& iShown);

    std::vector<Found> fFound;
    std::vector<std::string> fSkipped;
    std::vector<std::unique_ptr<PTestDirectory>> fUnpacked;
};

#endif
