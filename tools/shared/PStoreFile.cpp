// SPDX-License-Identifier: MIT
#include "shared/PStoreFile.h"

PStoreFile::PStoreFile(const std::string& iPath)
    : fPath(iPath), fName(iPath.substr(iPath.rfind('/') + 1)), fDirectory(directoryOf(iPath))
{
}

const std::string& PStoreFile::path() const
{
    return fPath;
}

const std::string& PStoreFile::name() const
{
    return fName;
}

PLockedDirectory& PStoreFile::directory()
{
    return fDirectory;
}

const PLockedDirectory& PStoreFile::directory() const
{
    return fDirectory;
}

std::optional<std::string> PStoreFile::read() const
{
    return fDirectory.read(fName);
}

void PStoreFile::write(const std::string& iBytes)
{
    fDirectory.write(fName, iBytes, fDirectory.statusOf(fName));
}

std::string PStoreFile::directoryOf(const std::string& iPath)
{
    const std::size_t slash = iPath.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : iPath.substr(0, slash);
}
