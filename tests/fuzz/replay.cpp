// SPDX-License-Identifier: MIT
// Runs a target once with every file of the directories: replay DIRECTORY...
#include "fuzz/Texts.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace
{
std::vector<fs::path> _filesOf(const fs::path& iDirectory)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(iDirectory))
    {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void _run(const fs::path& iFile)
{
    std::ifstream in(iFile, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
    // Printed before the run, so that the last line of a failed run names the input.
    std::printf("%s\n", iFile.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}
} // namespace

int main(int iCount, char** iArguments)
{
    std::size_t runs = 0;
    for (int i = 1; i < iCount; ++i)
    {
        for (const fs::path& file : _filesOf(iArguments[i]))
        {
            _run(file);
            ++runs;
        }
    }
    std::printf("%zu inputs\n", runs);
    return runs > 0 ? 0 : 1;
}
