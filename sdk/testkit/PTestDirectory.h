// SPDX-License-Identifier: MIT
// PTestDirectory: a temporary directory that its object creates and removes.
#ifndef IXLAL_SDK_PTESTDIRECTORY_H
#define IXLAL_SDK_PTESTDIRECTORY_H

#include "testkit/PTestError.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

/// Created under the directory that TMPDIR names, and removed with its content. With
/// IXLAL_TESTKIT_KEEP in the environment it stays, and its path is printed to the standard error
/// stream. Every operation throws PTestError on failure.
class PTestDirectory
{
public:
    PTestDirectory()
    {
        std::error_code failure;
        std::string name =
            (std::filesystem::temp_directory_path(failure) / "ixlal-XXXXXX").string();
        if (failure || !mkdtemp(name.data()))
        {
            throw PTestError("cannot make a temporary directory " + name +
                             ": let TMPDIR name a directory that can be written");
        }
        fPath = name;
    }

    ~PTestDirectory()
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the test kit never changes the environment
        if (std::getenv("IXLAL_TESTKIT_KEEP"))
        {
            (void)std::fprintf(stderr, "[testkit] kept: %s\n", fPath.c_str());
            return;
        }
        std::error_code ignored; // a file that stays does not harm a test
        std::filesystem::remove_all(fPath, ignored);
    }

    PTestDirectory(const PTestDirectory&) = delete;
    PTestDirectory& operator=(const PTestDirectory&) = delete;

    /// The directory itself.
    const std::filesystem::path& path() const noexcept
    {
        return fPath;
    }

    // Names are relative to the directory.

    /// Creates a directory in it.
    void makeDirectory(const std::filesystem::path& iName) const
    {
        std::error_code failure;
        std::filesystem::create_directory(fPath / iName, failure);
        if (failure)
        {
            throw PTestError("cannot make " + (fPath / iName).string() + ": " + failure.message() +
                             "; is the disk full?");
        }
    }

    /// Writes a file; replaces an existing one.
    void write(const std::filesystem::path& iName, const std::string& iText) const
    {
        const std::filesystem::path target = fPath / iName;
        std::ofstream file(target, std::ios::binary);
        if (!(file << iText) || !file.flush())
        {
            throw PTestError("cannot write " + target.string() + ": is the disk full?");
        }
    }

    /// Copies a file into the directory. iHint tells the user what to do when the copy fails.
    void copy(const std::filesystem::path& iFile, const std::filesystem::path& iName,
              const std::string& iHint) const
    {
        std::error_code failure;
        std::filesystem::copy_file(iFile, fPath / iName, failure);
        if (failure)
        {
            throw PTestError("cannot copy " + iFile.string() + ": " + failure.message() + "; " +
                             iHint);
        }
    }

private:
    std::filesystem::path fPath;
};

#endif
