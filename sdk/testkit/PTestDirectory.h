// SPDX-License-Identifier: MIT
// PTestDirectory: a temporary directory that goes with its object.
#ifndef IXLAL_SDK_PTESTDIRECTORY_H
#define IXLAL_SDK_PTESTDIRECTORY_H

#include "testkit/PTestError.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

/// Made below the directory that TMPDIR names, and removed with all that is in it; with
/// IXLAL_TESTKIT_KEEP in the environment it stays, and the standard error stream says where. Every
/// operation throws PTestError.
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
        std::error_code ignored; // a file that cannot be removed harms no test
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

    /// Makes a directory in it.
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

    /// Writes a file, over the one that is there.
    void write(const std::filesystem::path& iName, const std::string& iText) const
    {
        const std::filesystem::path target = fPath / iName;
        std::ofstream file(target, std::ios::binary);
        if (!(file << iText) || !file.flush())
        {
            throw PTestError("cannot write " + target.string() + ": is the disk full?");
        }
    }

    /// Copies a file into the directory; iHint is what to do when it is not there.
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
