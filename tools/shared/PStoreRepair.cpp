// SPDX-License-Identifier: MIT
#include "shared/PStoreRepair.h"

#include "helpers/Text.h"
#include "shared/PConfigFile.h"
#include "shared/PStoreFile.h"
#include "shared/ToolTexts.h"

#include <set>

namespace
{
std::string _freeName(const PStoreFile& iStore)
{
    const std::string first = iStore.name() + ".damaged";
    std::string name = first;
    for (unsigned int number = 2; iStore.directory().exists(name); ++number)
    {
        name = first + "." + std::to_string(number);
    }
    return name;
}
} // namespace

PStoreRepair::PStoreRepair(const std::string& iPath)
{
    PStoreFile store(iPath);
    const std::optional<std::string> bytes = store.read();
    if (!bytes)
    {
        throw PFileError(iPath + ": there is no store to repair; restore a copy");
    }
    const std::string repaired = collect(*bytes, iPath);
    if (fLines.empty())
    {
        return;
    }
    const std::string name = _freeName(store);
    store.directory().write(name, *bytes, store.directory().statusOf(store.name()));
    store.write(repaired);
    fOriginal = store.directory().pathOf(name);
}

const std::vector<PStoreRepair::Line>& PStoreRepair::lines() const
{
    return fLines;
}

const std::string& PStoreRepair::original() const
{
    return fOriginal;
}

/// Returns the lines to keep, and collects those to look at.
std::string PStoreRepair::collect(const std::string& iBytes, const std::string& iPath)
{
    PConfigFile file;
    // The bytes were read, so that the file is readable.
    static_cast<void>(file.read(ixlaWide(iPath)));
    std::set<unsigned int> broken;
    for (const ConfigLine& line : file.lines())
    {
        if (line.kind != ConfigLine::eEntry)
        {
            broken.insert(line.number);
        }
    }
    std::string kept;
    unsigned int number = 0;
    for (std::size_t from = 0; from < iBytes.size();)
    {
        ++number;
        const std::size_t end = iBytes.find('\n', from);
        const std::string text = iBytes.substr(from, end - from);
        const bool isKept = broken.count(number) == 0;
        if (!isKept || end == std::string::npos)
        {
            fLines.push_back({number, isKept, shownUtf8(text)});
        }
        kept += isKept ? text + "\n" : "";
        from = end == std::string::npos ? iBytes.size() : end + 1;
    }
    return kept;
}
