// SPDX-License-Identifier: MIT
#include "shared/PStoreText.h"

#include "helpers/Text.h"

#include <algorithm>

PStoreText::PStoreText(const std::string& iBytes, const std::string& iPath)
    : fIsCut(!iBytes.empty() && iBytes.back() != '\n')
{
    // The bytes were read, so that the file is readable.
    static_cast<void>(fFile.read(ixlaWide(iPath)));
}

std::size_t PStoreText::entries() const
{
    return static_cast<std::size_t>(std::count_if(fFile.lines().begin(), fFile.lines().end(),
                                                  [](const ConfigLine& iLine)
                                                  { return iLine.kind == ConfigLine::eEntry; }));
}

std::string PStoreText::fault() const
{
    if (fFile.brokenLine() != 0)
    {
        return "line " + std::to_string(fFile.brokenLine()) +
               " cannot be read, so the core ignores the store";
    }
    return fIsCut ? "its last line has no line break, so the store is cut short" : "";
}

bool PStoreText::endsBefore(const PStoreText& iOther) const
{
    const std::set<Name> own = names();
    const std::set<Name> others = iOther.names();
    return !others.empty() && (own.empty() || *own.rbegin() < *others.rbegin());
}

bool PStoreText::hasAllOf(const PStoreText& iOther) const
{
    const std::set<Name> own = names();
    const std::set<Name> others = iOther.names();
    return std::includes(own.begin(), own.end(), others.begin(), others.end());
}

std::set<PStoreText::Name> PStoreText::names() const
{
    std::set<Name> names;
    for (const ConfigLine& line : fFile.lines())
    {
        if (line.kind == ConfigLine::eEntry)
        {
            names.insert({line.key.text, line.attribute.text});
        }
    }
    return names;
}
