// SPDX-License-Identifier: MIT
// TempDir: a directory that belongs to one test and goes with it.
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

    /// Writes a file and returns its path; missing directories are made.
    std::string write(const std::string& iName, const std::string& iBytes) const;

    /// The bytes of a file; fails the test when there is none.
    std::string read(const std::string& iName) const;

private:
    std::filesystem::path fPath;
};

/// The bytes of the file at iPath, empty when there is none.
std::string readFile(const std::string& iPath);

/// The lines of the file at iPath without their ends.
std::vector<std::string> readLines(const std::string& iPath);

/// How many lines of the file hold iText.
int countLines(const std::string& iPath, const std::string& iText);

#endif
