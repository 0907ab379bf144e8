// SPDX-License-Identifier: MIT
// Texts: converts the bytes of a fuzzer to texts for the targets.
#ifndef IXLAL_TESTS_FUZZ_TEXTS_H
#define IXLAL_TESTS_FUZZ_TEXTS_H

#include "portinglayer/PString.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Defined by every target: runs it with the bytes of one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize);

std::string_view bytesOf(const std::uint8_t* iData, std::size_t iSize);

/// The parts between the separators, at least one.
std::vector<std::string_view> split(std::string_view iText, char iSeparator);

/// Removes and returns the text before the next separator; the last field is the whole rest.
std::string_view takeField(std::string_view& ioText, char iSeparator);

/// A text of any characters: from UTF-8, and from the special forms of lines for all others.
std::wstring decoded(std::string_view iBytes);

/// The bytes of a line that is read as iText. iFileStart is for the first line of a file.
std::string encoded(const std::wstring& iText, bool iFileStart = false);

/// A view of the characters of iText.
std::wstring_view textOf(const PLiteral& iText);
PString owned(std::wstring_view iText);
std::vector<PString> owned(const std::vector<std::wstring>& iTexts);

#endif
