// SPDX-License-Identifier: MIT
// A target that reads beyond a block of memory, which the sanitizer of a fuzzer must report.
#include "fuzz/Check.h"
#include "fuzz/Texts.h"

#include <algorithm>
#include <memory>

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[iSize]);
    std::copy(iData, iData + iSize, block.get());
    const std::uint8_t* const end = block.get() + iSize;
    const bool hasColon = std::find(iData, iData + iSize, ':') != iData + iSize;
    check(!hasColon || *end != ':', "the byte behind a block can be read");
    return 0;
}
