// SPDX-License-Identifier: MIT
#include "host/PChangeCheck.h"

#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "host/PInfoCheck.h"
#include "shared/PConfigFile.h"
#include "shared/PKeyCheck.h"
#include "shared/ToolTexts.h"

#include <cerrno>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

PChangeCheck::PChangeCheck(const PHostOptions& iOptions, const PLibraryProbe& iProbe)
    : fOptions(iOptions), fProbe(iProbe)
{
}

std::vector<std::string> PChangeCheck::run(const PWatchedFiles& iFiles, const std::string& iCopy)
{
    fOwners.clear();
    for (const std::string& name : iFiles.plugins())
    {
        const std::string path = fs::path(iFiles.pluginsDir()) / name;
        checkLibrary(name, shownUtf8(path), iCopy);
    }
    const std::string propertyFile = fOptions.pathOf(L"core.prs.file");
    for (const std::string& path : iFiles.configFiles())
    {
        // The core starts without the other files.
        if (fOptions.fStrict || path == propertyFile)
        {
            checkConfigFile(path);
        }
    }
    if (fOptions.fStrict)
    {
        checkKeys();
        checkInformation();
    }
    return std::move(fFound);
}

void PChangeCheck::checkLibrary(const std::string& iName, const std::string& iShown,
                                const std::string& iCopy)
{
    const PLibraryProbe::Outcome outcome = fProbe.run(fs::path(iCopy) / iName);
    if (outcome.flaw.empty())
    {
        checkInterfaces(iShown, outcome);
    }
    else
    {
        fFound.push_back(iShown + " " + outcome.flaw);
    }
}

/// Each ID belongs to the first library that offers it, in the order of the core.
void PChangeCheck::checkInterfaces(const std::string& iShown,
                                   const PLibraryProbe::Outcome& iOutcome)
{
    for (const std::string& id : iOutcome.builtIn)
    {
        fOwners.emplace(id, "the core itself");
    }
    for (const std::string& id : iOutcome.interfaces)
    {
        const auto [owner, isNew] = fOwners.emplace(id, iShown);
        if (!isNew && owner->second != iShown)
        {
            std::string text = iShown;
            text.append(" offers ").append(id).append(", which ").append(owner->second);
            fFound.push_back(text.append(" offers already"));
        }
    }
}

void PChangeCheck::checkConfigFile(const std::string& iPath)
{
    PConfigFile file;
    const int result = file.read(ixlaWide(iPath));
    const std::string shown = shownUtf8(iPath);
    if (result != 0)
    {
        fFound.push_back(shown + " cannot be read: " + ixlaResultText(result));
    }
    else if (file.brokenLine() > 0)
    {
        fFound.push_back(shown + ":" + std::to_string(file.brokenLine()) +
                         " is a line that the core refuses; ixla-config check " + shown +
                         " shows the mistakes");
    }
}

void PChangeCheck::checkKeys()
{
    const PString path = ixlaWide(fOptions.pathOf(L"core.prs.file"));
    const std::vector<std::string> findings = PKeyCheck::checkPropertyFile(path);
    fFound.insert(fFound.end(), findings.begin(), findings.end());
}

void PChangeCheck::checkInformation()
{
    for (const PDegradation& finding : PInfoCheck(fOptions).beforeStart())
    {
        fFound.push_back(finding.text);
    }
}
