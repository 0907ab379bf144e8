// SPDX-License-Identifier: MIT
// SimilarName: finds the name that a misspelt one probably means.
#ifndef IXLAL_TOOLS_SIMILARNAME_H
#define IXLAL_TOOLS_SIMILARNAME_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The text with the letters A to Z in lower case.
std::string lowerCase(std::string_view iText);

/// The number of insertions, deletions, replacements and swaps of neighbours that turn one text
/// into the other.
std::size_t editDistance(const std::string& iLeft, const std::string& iRight);

/// The one of iNames that differs least from iName, whatever the case; empty if each differs in
/// more than a third of its characters.
std::string similarName(const std::string& iName, const std::vector<std::string>& iNames);

#endif
