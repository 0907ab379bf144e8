// SPDX-License-Identifier: MIT
// TempDir: a temporary directory for one test, which its object creates and removes.
#ifndef IXLAL_TESTS_TEMPDIR_H
#define IXLAL_TESTS_TEMPDIR_H

#include "portinglayer/PString.h"

#include <filesystem>
#include <string>
#include <vector>

class TempDir
{
public:
    TempDir();
    ~TempDir();

    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const
    {
        return fPath;
    }

    /// The path of an entry; the entry need not exist.
    std::string file(const std::string& iName) const;
    PString wideFile(const std::string& iName) const;

    /// Writes a file and returns its path; creates missing directories.
    std::string write(const std::string& iName, const std::string& iBytes) const;

    /// The bytes of a file; fails the test if it does not exist.
    std::string read(const std::string& iName) const;

private:
    std::filesystem::path fPath;
};

/// The bytes of the file at iPath; empty if it does not exist.
std::string readFile(const std::string& iPath);

/// The lines of the file at iPath, without line ends.
std::vector<std::string> readLines(const std::string& iPath);

/// The number of lines of the file that contain iText.
int countLines(const std::string& iPath, const std::string& iText);

#endif
