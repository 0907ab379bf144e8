// SPDX-License-Identifier: MIT
// Formats of log lines: each gives the text that the C library gives.
#include "format/FormatModel.h"
#include "fuzz/Check.h"
#include "fuzz/Texts.h"

#include <clocale>

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    static const bool sIsUtf8 = std::setlocale(LC_ALL, "C.UTF-8") != nullptr;
    check(sIsUtf8, "the locale C.UTF-8");
    checkBytes(FormatModel::difference(bytesOf(iData, iSize)), "", "a formatted text");
    return 0;
}
