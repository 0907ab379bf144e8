// SPDX-License-Identifier: MIT
// ToolTexts: converts texts of the core for a terminal.
#ifndef IXLAL_TOOLS_TOOLTEXTS_H
#define IXLAL_TOOLS_TOOLTEXTS_H

#include "portinglayer/PString.h"

#include <string>

/// The bytes of a text, unchanged.
std::string utf8Text(const PLiteral& iText);

/// A text for one line of a terminal: line breaks, other control characters and bytes that are not
/// UTF-8 are shown as \n, \t, \x1b and the like.
std::string shownText(const PLiteral& iText);

/// The same in double quotes.
std::string quotedText(const PLiteral& iText);

#endif
