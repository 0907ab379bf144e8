// SPDX-License-Identifier: MIT
#include "config/PDeclaredCheck.h"

#include "helpers/Text.h"
#include "shared/CoreKeys.h"
#include "shared/SimilarName.h"
#include "shared/ToolTexts.h"

namespace
{
std::string _quoted(const std::string& iText)
{
    return '"' + shownUtf8(iText) + '"';
}
} // namespace

PDeclaredCheck::PDeclaredCheck(const PDeclarations& iDeclarations, PConfigCheck& ioCheck)
    : fDeclarations(iDeclarations), fCheck(ioCheck)
{
}

void PDeclaredCheck::checkFile(const PConfigFile& iFile, const std::vector<std::string>& iIDs)
{
    for (const ConfigLine& line : iFile.lines())
    {
        if (line.kind == ConfigLine::eEntry)
        {
            checkEntry(line, ixlaNarrow(line.key.text), iIDs);
        }
    }
}

void PDeclaredCheck::checkStore(const PConfigFile& iFile)
{
    for (const ConfigLine& line : iFile.lines())
    {
        const std::string name = ixlaNarrow(line.key.text);
        const std::size_t bar = name.find('|');
        if (line.kind == ConfigLine::eEntry && bar != std::string::npos)
        {
            checkEntry(line, name.substr(bar + 1), {name.substr(0, bar)});
        }
    }
}

void PDeclaredCheck::checkIDs(const PConfigFile& iFile)
{
    std::set<std::string> listed;
    for (const ConfigLine& line : iFile.lines())
    {
        listed.insert(ixlaNarrow(line.key.text));
    }
    for (const ConfigLine& line : iFile.lines())
    {
        const std::string id = ixlaNarrow(line.key.text);
        const bool isCandidate = line.kind == ConfigLine::eEntry && !fDeclarations.find(id);
        const std::string similar = isCandidate ? similarName(id, fDeclarations.ids()) : "";
        if (!similar.empty() && listed.count(similar) == 0)
        {
            fCheck.add(false, line.number, line.key.column,
                       "no plugin declares keys of the ID " + _quoted(id) + "; did you mean " +
                           _quoted(similar) + "?");
        }
    }
}

void PDeclaredCheck::checkEntry(const ConfigLine& iLine, const std::string& iKey,
                                const std::vector<std::string>& iIDs)
{
    bool isJudged = !iIDs.empty();
    for (const std::string& id : iIDs)
    {
        const bool isUnknown = fDeclarations.find(id) && checkValue(iLine, iKey, id);
        isJudged = isJudged && isUnknown;
    }
    // A key of the core is reported as misplaced.
    if (isJudged && !findCoreKey(iKey))
    {
        reportUnknown(iLine, iKey, iIDs);
    }
}

/// Returns whether the ID does not declare the key.
bool PDeclaredCheck::checkValue(const ConfigLine& iLine, const std::string& iKey,
                                const std::string& iID)
{
    const DeclaredKey* const key = fDeclarations.findKey(iID, iKey);
    if (key && iLine.attribute.text.len() == 0)
    {
        const std::string refusal = refusalOf(*key, iLine.value.text);
        if (!refusal.empty())
        {
            fCheck.add(false, iLine.number, iLine.value.column,
                       quotedText(iLine.value.text) + " is " + refusal + "; the default " +
                           _quoted(key->byDefault) + " is used");
        }
    }
    return !key;
}

void PDeclaredCheck::reportUnknown(const ConfigLine& iLine, const std::string& iKey,
                                   const std::vector<std::string>& iIDs)
{
    const std::string& id = iIDs.front();
    if (!fReported.insert(id + '|' + iKey).second)
    {
        return;
    }
    const std::string similar = similarName(iKey, fDeclarations.find(id)->names());
    fCheck.add(false, iLine.number, iLine.key.column,
               _quoted(iKey) + " is not a key of " + shownUtf8(id) + "; " +
                   (similar.empty() ? "`ixla-config describe " + shownUtf8(id) + "` lists them"
                                    : "did you mean " + _quoted(similar) + "?"));
}
