// SPDX-License-Identifier: MIT
// Texts: what the targets make of the bytes that a fuzzer hands them.
#ifndef IXLAL_TESTS_FUZZ_TEXTS_H
#define IXLAL_TESTS_FUZZ_TEXTS_H

#include "portinglayer/PString.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What every target defines: one run with the bytes of one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize);

std::string_view bytesOf(const std::uint8_t* iData, std::size_t iSize);

/// The parts between the separators, at least one.
std::vector<std::string_view> split(std::string_view iText, char iSeparator);

/// Takes what stands before the next separator off the front; the last field is all that is left.
std::string_view takeField(std::string_view& ioText, char iSeparator);

/// A text of any characters: UTF-8, and the forms that lines have for everything else.
std::wstring decoded(std::string_view iBytes);

/// The bytes of a line that reads as iText.
std::string encoded(const std::wstring& iText);

std::wstring textOf(const PLiteral& iText);
PString owned(const std::wstring& iText);
std::vector<PString> owned(const std::vector<std::wstring>& iTexts);

#endif
