// SPDX-License-Identifier: MIT
// Errors that scripts/check-static.sh must report, one for each kind of analysis.
#include "unsound.h"

#include <string>
#include <utility>

int Unsound::shift(int iPlaces) const
{
    const int* const places = iPlaces > 0 ? &iPlaces : nullptr;
    return iPlaces > 1 ? iPlaces : *places; // null along one path
}

int MoreUnsound::shift(int iPlaces) const
{
    const int table[] = {1, 2, 3};
    return iPlaces + table[3]; // past the end
}

std::string takeTwice(std::string iText)
{
    std::string first = std::move(iText);
    return first + iText; // moved away
}
