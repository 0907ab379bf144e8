// SPDX-License-Identifier: MIT
#include "fuzz/MemoryDir.h"

#include "fuzz/Check.h"
#include "fuzz/Texts.h"

#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

MemoryDir::MemoryDir()
{
    const fs::path memory = "/dev/shm";
    const bool usable = !std::getenv("TMPDIR") && ::access(memory.c_str(), W_OK) == 0;
    fPath = (usable ? memory : fs::temp_directory_path()).string() + kName + "XXXXXX";
    check(mkdtemp(fPath.data()) != nullptr, "a directory can be made");
}

MemoryDir::~MemoryDir()
{
    std::error_code ignored;
    fs::remove_all(fPath, ignored);
}

std::string MemoryDir::file(const std::string& iName) const
{
    return fPath + '/' + iName;
}

PString MemoryDir::wideFile(const std::string& iName) const
{
    return owned(decoded(file(iName)));
}

void MemoryDir::write(const std::string& iName, std::string_view iBytes) const
{
    const int handle = ::open(file(iName).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const ssize_t written = ::write(handle, iBytes.data(), iBytes.size());
    ::close(handle);
    check(written == static_cast<ssize_t>(iBytes.size()), "a file can be written");
}

std::string MemoryDir::read(const std::string& iName) const
{
    std::string bytes;
    char buffer[4096];
    const int handle = ::open(file(iName).c_str(), O_RDONLY);
    for (ssize_t got = 0; (got = ::read(handle, buffer, sizeof buffer)) > 0;)
    {
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(handle);
    return bytes;
}

bool MemoryDir::exists(const std::string& iName) const
{
    return ::access(file(iName).c_str(), F_OK) == 0;
}

void MemoryDir::remove(const std::string& iName) const
{
    ::unlink(file(iName).c_str());
}
