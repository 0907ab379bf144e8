// SPDX-License-Identifier: MIT
#include "config/CheckCommand.h"

#include "config/KeyJson.h"
#include "config/PConfigCheck.h"
#include "config/PConfigView.h"
#include "config/PCoreSession.h"
#include "config/PDeclaredCheck.h"
#include "config/PPluginKeys.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "shared/PKeyCheck.h"
#include "shared/ToolTexts.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>

namespace
{
constexpr std::string_view kPropertyFile = "core.prs.file=";

/// Checks the files one by one, with a core that reads the files which they list.
class Checker
{
public:
    explicit Checker(const CheckRequest& iRequest)
        : fRequest(iRequest),
          fPlugins(iRequest.options),
          fSession(fScratch, fScratch.configDir(), {})
    {
        // Throws for wrong options, even if no file needs them.
        static_cast<void>(placesFor(std::string()));
    }

    void look(const std::string& iFile);

    /// Prints the JSON form, and returns the exit code.
    int finish() const;

private:
    PConfigCheck::EFileKind kindOf(const std::string& iFile, const PConfigFile& iLines) const;
    bool isStoreBeside(const std::string& iFile) const;
    bool isPropertyFile(const std::string& iFile, const PConfigFile& iLines) const;
    std::optional<std::vector<std::string>> idsBeside(const std::string& iFile) const;
    static bool isFileOf(const PConfigPlaces& iPlaces, const PString& iID,
                         const std::string& iFile);
    void checkDeclared(const std::string& iFile, const PConfigFile& iLines,
                       PConfigCheck::EFileKind iKind, PConfigCheck& ioCheck) const;
    PConfigPlaces placesFor(const std::string& iFile) const;
    static void checkKeys(const PConfigFile& iLines, CoreKey::EPlace iPlace, PConfigCheck& ioCheck);
    static bool checkKey(const ConfigLine& iLine, CoreKey::EPlace iPlace, PConfigCheck& ioCheck);
    void checkIDs(const std::string& iFile, const PConfigFile& iLines, PConfigCheck& ioCheck) const;
    void checkList(const PConfigPlaces& iPlaces, const ConfigLine& iLine,
                   PConfigCheck& ioCheck) const;
    void checkListed(const PConfigPlaces& iPlaces, const ConfigLine& iLine, unsigned int iColumn,
                     const PString& iName, PConfigCheck& ioCheck) const;
    static void checkStorePlace(const PConfigPlaces& iPlaces, const ConfigLine& iLine,
                                PConfigCheck& ioCheck);
    void report(const std::string& iFile, const PConfigCheck& iCheck);

    const CheckRequest& fRequest;
    const PPluginKeys fPlugins;
    const PScratch fScratch;
    const PCoreSession fSession;
    nlohmann::json fReports = nlohmann::json::array();
    unsigned int fErrors = 0;
    unsigned int fWarnings = 0;
};

void Checker::look(const std::string& iFile)
{
    PConfigFile lines;
    const int result = lines.read(ixlaWide(iFile));
    if (result != 0)
    {
        std::cerr << "ixla-config: " << iFile << ": cannot be read: " << ixlaResultText(result)
                  << '\n';
        fReports.push_back({{"file", iFile}, {"result", result}});
        ++fErrors;
        return;
    }
    const PConfigCheck::EFileKind kind = kindOf(iFile, lines);
    PConfigCheck check(lines, kind);
    if (kind == PConfigCheck::eManager)
    {
        checkIDs(iFile, lines, check);
    }
    if (fPlugins.isKnown())
    {
        checkDeclared(iFile, lines, kind, check);
    }
    if (kind == PConfigCheck::eValues || kind == PConfigCheck::eProperty)
    {
        const bool isProperty = kind == PConfigCheck::eProperty;
        checkKeys(lines, isProperty ? CoreKey::ePropertyFile : CoreKey::ePluginFile, check);
    }
    report(iFile, check);
}

int Checker::finish() const
{
    if (fRequest.json)
    {
        printJson({{"files", fReports}, {"errors", fErrors}, {"warnings", fWarnings}});
    }
    return fErrors > 0 || (fRequest.strict && fWarnings > 0) ? eExitFailed : eExitOk;
}

PConfigCheck::EFileKind Checker::kindOf(const std::string& iFile, const PConfigFile& iLines) const
{
    const std::filesystem::path name = std::filesystem::path(iFile).filename();
    if (fRequest.isStore)
    {
        return PConfigCheck::eStore;
    }
    if (name == utf8Text(kManagerFile))
    {
        return PConfigCheck::eManager;
    }
    if (isStoreBeside(iFile))
    {
        return PConfigCheck::eStore;
    }
    return isPropertyFile(iFile, iLines) ? PConfigCheck::eProperty : PConfigCheck::eValues;
}

/// Whether a manager's file names this file as its store.
bool Checker::isStoreBeside(const std::string& iFile) const
{
    PConfigPlaces places = placesFor(iFile);
    std::error_code error;
    return places.readManagerFile(fSession.manager()) == 0 &&
           std::filesystem::equivalent(utf8Text(places.storePath()), iFile, error) && !error;
}

/// Whether --core names this file as the property file, or its keys show it.
bool Checker::isPropertyFile(const std::string& iFile, const PConfigFile& iLines) const
{
    std::error_code error;
    for (const std::string& argument : fRequest.options.core)
    {
        if (argument.rfind(kPropertyFile, 0) == 0 &&
            std::filesystem::equivalent(argument.substr(kPropertyFile.size()), iFile, error))
        {
            return true;
        }
    }
    return PKeyCheck::isPropertyFile(iLines) &&
           idsBeside(iFile).value_or(std::vector<std::string>()).empty();
}

/// The IDs for which a manager's file lists this file; none without such a file.
std::optional<std::vector<std::string>> Checker::idsBeside(const std::string& iFile) const
{
    PConfigPlaces places = placesFor(iFile);
    if (places.readManagerFile(fSession.manager()) != 0)
    {
        return std::nullopt;
    }
    std::vector<std::string> ids;
    for (const PString& id : places.listedIDs())
    {
        if (isFileOf(places, id, iFile))
        {
            ids.push_back(ixlaNarrow(id));
        }
    }
    return ids;
}

bool Checker::isFileOf(const PConfigPlaces& iPlaces, const PString& iID, const std::string& iFile)
{
    const std::vector<PString> names = iPlaces.filesOf(iID);
    return std::any_of(names.begin(), names.end(),
                       [&](const PString& iName)
                       {
                           std::error_code error;
                           return std::filesystem::equivalent(utf8Text(iPlaces.pathOf(iName)),
                                                              iFile, error);
                       });
}

/// Compares a file with the keys that plugins declare.
void Checker::checkDeclared(const std::string& iFile, const PConfigFile& iLines,
                            PConfigCheck::EFileKind iKind, PConfigCheck& ioCheck) const
{
    PDeclaredCheck declared(fPlugins.declarations(), ioCheck);
    if (iKind == PConfigCheck::eStore)
    {
        declared.checkStore(iLines);
    }
    if (iKind == PConfigCheck::eManager)
    {
        declared.checkIDs(iLines);
    }
    const std::optional<std::vector<std::string>> ids = idsBeside(iFile);
    if (iKind != PConfigCheck::eValues || !ids)
    {
        return;
    }
    declared.checkFile(iLines, *ids);
    if (ids->empty())
    {
        ioCheck.add(false, 1, 1,
                    "no ID in ixlap.configmanager.prs has this file, so no plugin reads it by its "
                    "ID");
    }
}

PConfigPlaces Checker::placesFor(const std::string& iFile) const
{
    const std::string beside = std::filesystem::path(iFile).parent_path();
    const std::string dir = !fRequest.options.dir.empty() ? fRequest.options.dir
                            : beside.empty()              ? "."
                                                          : beside;
    return PConfigView::placesOf(fSession.manager(), dir, fRequest.options.core);
}

void Checker::checkKeys(const PConfigFile& iLines, CoreKey::EPlace iPlace, PConfigCheck& ioCheck)
{
    for (const ConfigLine& line : iLines.lines())
    {
        if (line.kind == ConfigLine::eEntry)
        {
            static_cast<void>(checkKey(line, iPlace, ioCheck));
        }
    }
}

/// Returns whether there is nothing to report.
bool Checker::checkKey(const ConfigLine& iLine, CoreKey::EPlace iPlace, PConfigCheck& ioCheck)
{
    const PKeyCheck::Finding finding = PKeyCheck::check(iPlace, iLine);
    if (!finding.text.empty())
    {
        const ConfigPart& place = finding.isOfValue ? iLine.value : iLine.key;
        ioCheck.add(false, iLine.number, place.column, finding.text);
    }
    return finding.text.empty();
}

void Checker::checkIDs(const std::string& iFile, const PConfigFile& iLines,
                       PConfigCheck& ioCheck) const
{
    const PConfigPlaces places = placesFor(iFile);
    for (const ConfigLine& line : iLines.lines())
    {
        if (line.kind != ConfigLine::eEntry || !checkKey(line, CoreKey::eManagerFile, ioCheck) ||
            line.attribute.text.len() > 0)
        {
            continue;
        }
        if (line.key.text == kStoreFileKey)
        {
            checkStorePlace(places, line, ioCheck);
        }
        else
        {
            checkList(places, line, ioCheck);
        }
    }
}

void Checker::checkList(const PConfigPlaces& iPlaces, const ConfigLine& iLine,
                        PConfigCheck& ioCheck) const
{
    PString rest(iLine.value.text);
    PString name;
    unsigned int position = 0;
    bool isEmpty = true;
    while (PLiteral::getNextToken(rest, name, L',') == 0)
    {
        isEmpty = false;
        unsigned int offset = 0;
        PLiteral(iLine.value.text.ptr() + position).str(name, offset);
        position += offset;
        checkListed(iPlaces, iLine, iLine.value.column + position, name, ioCheck);
        position += name.len();
    }
    if (isEmpty)
    {
        ioCheck.add(false, iLine.number, iLine.value.column,
                    "ID \"" + shownText(iLine.key.text) + "\" has no files");
    }
}

void Checker::checkListed(const PConfigPlaces& iPlaces, const ConfigLine& iLine,
                          unsigned int iColumn, const PString& iName, PConfigCheck& ioCheck) const
{
    const PString path = iPlaces.pathOf(iName);
    PBaseptr<IConfig> config;
    const int result = fSession.manager().loadByFile(path, config);
    if (result != 0)
    {
        ioCheck.add(false, iLine.number, iColumn,
                    "ID \"" + shownText(iLine.key.text) + "\": " + shownText(path) + ": " +
                        ixlaResultText(result));
    }
}

void Checker::checkStorePlace(const PConfigPlaces& iPlaces, const ConfigLine& iLine,
                              PConfigCheck& ioCheck)
{
    const std::filesystem::path path = utf8Text(iPlaces.pathOf(iLine.value.text));
    std::error_code error;
    if (iLine.value.text.len() == 0)
    {
        ioCheck.add(false, iLine.number, iLine.value.column,
                    "no store file: store operations return -3003");
    }
    else if (!std::filesystem::is_directory(path.has_parent_path() ? path.parent_path() : ".",
                                            error))
    {
        ioCheck.add(false, iLine.number, iLine.value.column,
                    "the directory of the store " + path.string() + " is not there");
    }
}

void Checker::report(const std::string& iFile, const PConfigCheck& iCheck)
{
    nlohmann::json findings = nlohmann::json::array();
    for (const ConfigFinding& finding : iCheck.findings())
    {
        ++(finding.isError ? fErrors : fWarnings);
        const char* const severity = finding.isError ? "error" : "warning";
        findings.push_back({{"line", finding.line},
                            {"column", finding.column},
                            {"severity", severity},
                            {"text", finding.text}});
        if (!fRequest.json)
        {
            std::cout << iFile << ':' << finding.line << ':' << finding.column << ": " << severity
                      << ": " << finding.text << '\n';
        }
    }
    fReports.push_back({{"file", iFile}, {"result", 0}, {"findings", findings}});
}
} // namespace

int runCheck(const CheckRequest& iRequest)
{
    Checker checker(iRequest);
    for (const std::string& file : iRequest.files)
    {
        checker.look(file);
    }
    return checker.finish();
}
