// SPDX-License-Identifier: MIT
#include "support/TempDir.h"

#include "support/Texts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

TempDir::TempDir()
{
    std::string name = (fs::temp_directory_path() / "ixlal-test-XXXXXX").string();
    if (!mkdtemp(name.data()))
    {
        throw std::runtime_error("cannot make a temporary directory");
    }
    fPath = name;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    fs::remove_all(fPath, ignored);
}

std::string TempDir::file(const std::string& iName) const
{
    return (fPath / iName).string();
}

PString TempDir::wideFile(const std::string& iName) const
{
    return wide(file(iName));
}

std::string TempDir::write(const std::string& iName, const std::string& iBytes) const
{
    const fs::path target = fPath / iName;
    fs::create_directories(target.parent_path());
    std::ofstream(target, std::ios::binary) << iBytes;
    return target.string();
}

std::string TempDir::read(const std::string& iName) const
{
    EXPECT_TRUE(fs::exists(fPath / iName)) << iName;
    return readFile(file(iName));
}

std::string readFile(const std::string& iPath)
{
    std::ifstream in(iPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> readLines(const std::string& iPath)
{
    std::ifstream in(iPath);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

int countLines(const std::string& iPath, const std::string& iText)
{
    int count = 0;
    for (const std::string& line : readLines(iPath))
    {
        count += line.find(iText) != std::string::npos;
    }
    return count;
}
