// ToolTexts: between the bytes of command lines and terminals and the texts of the core.
#ifndef IXLAL_TOOLS_TOOLTEXTS_H
#define IXLAL_TOOLS_TOOLTEXTS_H

#include "portinglayer/PString.h"

#include <string>
#include <string_view>

/// The text that the bytes of an argument or a path stand for.
PString wideText(std::string_view iBytes);

/// The bytes of a text as it stands; utf8Text(wideText(x)) is x.
std::string utf8Text(const PLiteral& iText);

/// A text for one line of a terminal: line breaks, other control characters and bytes that are not
/// UTF-8 are shown as \n, \t, \x1b and the like.
std::string shownText(const PLiteral& iText);

#endif
