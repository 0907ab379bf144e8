// SPDX-License-Identifier: MIT
#include "shared/PKeyCheck.h"

#include "portinglayer/PUtils.h"
#include "shared/ToolTexts.h"

#include <algorithm>

namespace
{
/// Whether only the core may have a key of that name. Any name may be an ID.
bool _isOwnName(CoreKey::EPlace iPlace, const std::string& iName)
{
    return iName.rfind("ixlap.configmanager.", 0) == 0 ||
           (iPlace != CoreKey::eManagerFile && iName.rfind("core.", 0) == 0);
}

std::string _quoted(std::string_view iText)
{
    return '"' + std::string(iText) + '"';
}

std::string _readers(unsigned int iPlaces)
{
    if (iPlaces == CoreKey::eManagerFile)
    {
        return "in ixlap.configmanager.prs";
    }
    return iPlaces == CoreKey::eArgument ? "as an argument only"
                                         : "as an argument or in the property file";
}
} // namespace

PKeyCheck::Finding PKeyCheck::check(CoreKey::EPlace iPlace, const ConfigLine& iEntry)
{
    const std::string name = shownText(iEntry.key.text);
    Finding finding;
    finding.text = checkKey(iPlace, name);
    const CoreKey* const key = findCoreKey(name);
    if (finding.text.empty() && key && iEntry.attribute.text.len() == 0)
    {
        finding.isOfValue = true;
        finding.text = checkValue(*key, iEntry.value.text);
    }
    return finding;
}

std::vector<std::string> PKeyCheck::checkArguments(const std::vector<PString>& iArguments)
{
    std::vector<std::string> findings;
    for (const PString& argument : iArguments)
    {
        const Finding finding = check(CoreKey::eArgument, PConfigFile::split(argument));
        if (!finding.text.empty())
        {
            findings.push_back("argument " + shownText(argument) + ": " + finding.text);
        }
    }
    return findings;
}

std::vector<std::string> PKeyCheck::checkPropertyFile(const PLiteral& iPath)
{
    std::vector<std::string> findings;
    PConfigFile file;
    if (file.read(iPath) != 0)
    {
        return findings;
    }
    for (const ConfigLine& line : file.lines())
    {
        const Finding finding =
            line.kind == ConfigLine::eEntry ? check(CoreKey::ePropertyFile, line) : Finding();
        if (!finding.text.empty())
        {
            findings.push_back(shownText(iPath) + ":" + std::to_string(line.number) + ": " +
                               finding.text);
        }
    }
    return findings;
}

bool PKeyCheck::isPropertyFile(const PConfigFile& iFile)
{
    return std::any_of(iFile.lines().begin(), iFile.lines().end(),
                       [](const ConfigLine& iLine)
                       {
                           const std::string name = shownText(iLine.key.text);
                           const CoreKey* const key = findCoreKey(name);
                           const CoreKey* const meant =
                               key ? key : findCoreKey(similarCoreKey(name));
                           return meant && (meant->places & CoreKey::ePropertyFile) != 0;
                       });
}

std::string PKeyCheck::checkKey(CoreKey::EPlace iPlace, const std::string& iKey)
{
    const CoreKey* const key = findCoreKey(iKey);
    if (key)
    {
        return (key->places & iPlace) != 0
                   ? ""
                   : _quoted(iKey) + " has no effect here; the core reads it " +
                         _readers(key->places);
    }
    const std::string similar = iPlace == CoreKey::ePluginFile ? "" : similarCoreKey(iKey);
    if (!similar.empty())
    {
        return _quoted(iKey) + " is not a key of the core; did you mean " + _quoted(similar) + "?";
    }
    return iPlace != CoreKey::ePluginFile && _isOwnName(iPlace, iKey)
               ? _quoted(iKey) + " is not a key of the core; `ixla-config core-keys` lists them"
               : "";
}

std::string PKeyCheck::checkValue(const CoreKey& iKey, const PString& iValue)
{
    const std::string value = quotedText(iValue);
    bool truth = false;
    int number = 0;
    if (iKey.type == CoreKey::eTruth && PUtils::strToBool(iValue, truth) != 0)
    {
        return value + " is neither true nor false; " + std::string(iKey.ifWrong);
    }
    if (iKey.type != CoreKey::eNumber && iKey.type != CoreKey::eCount)
    {
        return "";
    }
    if (PUtils::strToInt32(iValue, number) != 0)
    {
        return value + " is not a number of 32 bits; " + std::string(iKey.ifWrong);
    }
    return iKey.type == CoreKey::eCount && number < 0
               ? value + " is negative; " + std::string(iKey.ifNegative)
               : "";
}
