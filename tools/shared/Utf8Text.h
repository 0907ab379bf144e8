// SPDX-License-Identifier: MIT
/// @file
/// utf8Length, isUtf8, appendUtf8: characters of UTF-8 texts.
#ifndef IXLAL_TOOLS_UTF8TEXT_H
#define IXLAL_TOOLS_UTF8TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

/// The number of bytes of the first character; 0 when the text does not begin with a valid one.
/// Surrogates and overlong forms are not valid.
std::size_t utf8Length(std::string_view iText);

/// Whether a text consists of valid characters.
bool isUtf8(std::string_view iText);

/// Appends a character, which is not a surrogate and at most U+10FFFF.
void appendUtf8(unsigned int iCharacter, std::string& ioText);

#endif
