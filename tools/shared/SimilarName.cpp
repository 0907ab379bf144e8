// SPDX-License-Identifier: MIT
#include "shared/SimilarName.h"

#include <algorithm>
#include <cctype>

namespace
{
constexpr std::size_t kMostEdits = 4;
constexpr std::size_t kCharactersPerEdit = 3;
} // namespace

std::string lowerCase(std::string_view iText)
{
    std::string lower(iText);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char iChar) { return static_cast<char>(std::tolower(iChar)); });
    return lower;
}

std::size_t editDistance(const std::string& iLeft, const std::string& iRight)
{
    std::vector<std::size_t> before(iRight.size() + 1);
    std::vector<std::size_t> last(iRight.size() + 1);
    std::vector<std::size_t> row(iRight.size() + 1);
    for (std::size_t j = 0; j <= iRight.size(); ++j)
    {
        last[j] = j;
    }
    for (std::size_t i = 1; i <= iLeft.size(); ++i)
    {
        row[0] = i;
        for (std::size_t j = 1; j <= iRight.size(); ++j)
        {
            const std::size_t replaced = last[j - 1] + (iLeft[i - 1] == iRight[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && iLeft[i - 1] == iRight[j - 2] && iLeft[i - 2] == iRight[j - 1])
            {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before.swap(last);
        last.swap(row);
    }
    return last[iRight.size()];
}

std::string similarName(const std::string& iName, const std::vector<std::string>& iNames)
{
    const std::string lower = lowerCase(iName);
    const std::size_t most = std::min(lower.size() / kCharactersPerEdit, kMostEdits);
    std::size_t fewest = most + 1;
    std::string similar;
    for (const std::string& name : iNames)
    {
        const std::size_t edits = editDistance(lower, lowerCase(name));
        if (edits < fewest)
        {
            fewest = edits;
            similar = name;
        }
    }
    return similar;
}
