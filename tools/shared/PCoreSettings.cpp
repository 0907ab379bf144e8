// SPDX-License-Identifier: MIT
#include "shared/PCoreSettings.h"

#include "shared/ToolTexts.h"

#include <algorithm>

PCoreSettings::PCoreSettings(const std::vector<PString>& iArguments)
{
    std::vector<ConfigLine> arguments;
    std::transform(iArguments.begin(), iArguments.end(), std::back_inserter(arguments),
                   &PConfigFile::split);
    PString path;
    PConfigFile file;
    if (findLast(arguments, L"core.prs.file", path))
    {
        PUtils::fixFileSeparator(path);
        // The core reports a file that cannot be read.
        static_cast<void>(file.read(path));
    }
    fLines = file.lines();
    fLines.insert(fLines.end(), arguments.begin(), arguments.end());
}

bool PCoreSettings::find(const PLiteral& iKey, PString& oValue) const
{
    return findLast(fLines, iKey, oValue);
}

PString PCoreSettings::pathOf(const PLiteral& iName) const
{
    return pathOf(iName,
                  [this](const PLiteral& iKey, PString& oValue) { return find(iKey, oValue); });
}

std::string PCoreSettings::storePath() const
{
    PConfigFile manager;
    PString name;
    const bool isRead = manager.read(pathOf(kManagerFile)) == 0 && manager.brokenLine() == 0;
    if (!isRead || !findLast(manager.lines(), kStoreFileKey, name) || name.len() == 0)
    {
        return std::string();
    }
    return utf8Text(pathOf(name));
}

bool PCoreSettings::findLast(const std::vector<ConfigLine>& iLines, const PLiteral& iKey,
                             PString& oValue)
{
    const auto found = std::find_if(iLines.rbegin(), iLines.rend(),
                                    [&](const ConfigLine& iLine)
                                    {
                                        return iLine.kind == ConfigLine::eEntry &&
                                               iLine.key.text == iKey &&
                                               iLine.attribute.text.len() == 0;
                                    });
    if (found == iLines.rend())
    {
        return false;
    }
    oValue = found->value.text;
    return true;
}
