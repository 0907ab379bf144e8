// SPDX-License-Identifier: MIT
// ToolTexts: converts texts of the core for a terminal.
#ifndef IXLAL_TOOLS_TOOLTEXTS_H
#define IXLAL_TOOLS_TOOLTEXTS_H

#include "portinglayer/PString.h"

#include <string>
#include <vector>

/// The bytes of a text, unchanged.
std::string utf8Text(const PLiteral& iText);

/// A text for one line of a terminal: line breaks, other control characters and bytes that are not
/// UTF-8 are shown as \n, \t, \x1b and the like.
std::string shownText(const PLiteral& iText);

/// The same of a text in UTF-8.
std::string shownUtf8(const std::string& iText);

/// shownText in double quotes.
std::string quotedText(const PLiteral& iText);

/// The texts with commas between them.
std::string joinedTexts(const std::vector<std::string>& iTexts);

/// The names of a list of the core, which are separated by commas.
std::vector<PString> namesOf(PString iList);

/// The texts for the core, which are UTF-8.
std::vector<PString> wideTexts(const std::vector<std::string>& iTexts);

#endif
