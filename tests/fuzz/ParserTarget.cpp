// SPDX-License-Identifier: MIT
// The parser of files and arguments: an input is read as a file and as one argument per line, by
// configurations and by the core, and compared with the model of the format.
#include "Ixla.h"
#include "config/PConfig.h"
#include "config/PConfigFormat.h"
#include "config/PConfigManager.h"
#include "core/PStartArguments.h"
#include "fuzz/Check.h"
#include "fuzz/ConversionModel.h"
#include "fuzz/LineModel.h"
#include "fuzz/MemoryDir.h"
#include "fuzz/StartModel.h"
#include "fuzz/Texts.h"

#include <memory>

namespace
{
typedef std::vector<std::wstring> Lines;

/// A manager without a core, which can still read files and arguments.
struct Parser
{
    const MemoryDir dir;
    const PString path = dir.wideFile("in.prs");
    const PBaseptr<IConfigManager> manager = PBaseptr<IConfigManager>::adopt(new PConfigManager);
};

int _codeOfNames(std::wstring_view iKey, std::wstring_view iAttribute)
{
    return LineModel::isName(iKey) && LineModel::isName(iAttribute) ? 0 : -3004;
}

template <class TValue>
void _checkNumber(const std::wstring& iText, int (IConfig::*iRead)(const PLiteral&, TValue&),
                  IConfig& ioConfig, const PString& iKey)
{
    TValue expected = 0;
    TValue found = 0;
    const int code = ConversionModel::toNumber(iText, expected);
    checkCode((ioConfig.*iRead)(iKey, found), code, "code of a number");
    check(found == expected, "number");
}

template <class TValue>
void _checkNumber(const std::wstring& iText,
                  int (IConfig::*iRead)(const PLiteral&, const PLiteral&, TValue&),
                  IConfig& ioConfig, const PString& iKey, const PString& iAttribute)
{
    TValue expected = 0;
    TValue found = 0;
    const int code = ConversionModel::toNumber(iText, expected);
    checkCode((ioConfig.*iRead)(iKey, iAttribute, found), code, "code of an attribute's number");
    check(found == expected, "number of an attribute");
}

void _checkBool(const std::wstring& iText, int iFoundCode, bool iFound)
{
    bool expected = false;
    const int code = ConversionModel::toBool(iText, expected);
    checkCode(iFoundCode, code, "code of a truth value");
    check(iFound == expected, "truth value");
}

/// Takes ownership of the block.
void _checkBinary(const std::wstring& iText, int iFoundCode, unsigned char* iData,
                  unsigned int iSize)
{
    const std::unique_ptr<unsigned char[]> owner(iData);
    std::string expected;
    const int code = ConversionModel::toBytes(iText, expected);
    checkCode(iFoundCode, code, "code of bytes");
    checkBytes(std::string(reinterpret_cast<const char*>(iData), iSize), expected, "bytes");
}

void _checkTyped(IConfig& ioConfig, const PString& iKey, const std::wstring& iText)
{
    _checkNumber(iText, &IConfig::getInt32, ioConfig, iKey);
    _checkNumber(iText, &IConfig::getUint32, ioConfig, iKey);
    _checkNumber(iText, &IConfig::getInt64, ioConfig, iKey);
    _checkNumber(iText, &IConfig::getUint64, ioConfig, iKey);
    bool truth = false;
    int code = ioConfig.getBool(iKey, truth);
    _checkBool(iText, code, truth);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    code = ioConfig.getBinary(iKey, data, size);
    _checkBinary(iText, code, data, size);
}

void _checkTyped(IConfig& ioConfig, const PString& iKey, const PString& iAttribute,
                 const std::wstring& iText)
{
    _checkNumber(iText, &IConfig::getAttrInt32, ioConfig, iKey, iAttribute);
    _checkNumber(iText, &IConfig::getAttrUint32, ioConfig, iKey, iAttribute);
    _checkNumber(iText, &IConfig::getAttrInt64, ioConfig, iKey, iAttribute);
    _checkNumber(iText, &IConfig::getAttrUint64, ioConfig, iKey, iAttribute);
    bool truth = false;
    int code = ioConfig.getAttrBool(iKey, iAttribute, truth);
    _checkBool(iText, code, truth);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    code = ioConfig.getAttrBinary(iKey, iAttribute, data, size);
    _checkBinary(iText, code, data, size);
}

/// What is read of each record: reads of all types need the most time, so that one of the loads of
/// an input has them.
enum Reads
{
    eTexts,
    eAllTypes
};

/// Reads a text with the names that the configuration itself has listed.
template <class TRead>
void _checkRead(const TRead& iRead, int iCode, std::wstring_view iExpected)
{
    // Only a read that fails could leave a text unchanged.
    PString found(iCode == 0 ? L"" : L"before");
    checkCode(iRead(found), iCode, "code of a text");
    checkText(textOf(found), iCode == 0 ? iExpected : L"before", "text");
}

void _checkAttributes(IConfig& ioConfig, const PString& iKey, const ModelRecord& iRecord,
                      Reads iReads)
{
    std::vector<PString> names;
    checkCode(ioConfig.getAttributes(iKey, names), 0, "attributes can be listed");
    check(names.size() == iRecord.attributes.size(), "number of attributes");
    auto name = names.begin();
    for (const auto& [attribute, text] : iRecord.attributes)
    {
        checkText(textOf(*name), attribute, "attribute");
        const int code = _codeOfNames(textOf(iKey), attribute);
        _checkRead([&](PString& oText) { return ioConfig.getAttrString(iKey, *name, oText); }, code,
                   text);
        if (code == 0 && iReads == eAllTypes)
        {
            _checkTyped(ioConfig, iKey, *name, text);
        }
        ++name;
    }
}

void _checkRecord(IConfig& ioConfig, const PString& iKey, const ModelRecord& iRecord, Reads iReads)
{
    const int code = _codeOfNames(textOf(iKey), L"");
    _checkRead([&](PString& oText) { return ioConfig.getString(iKey, oText); }, code,
               iRecord.value);
    if (code == 0 && iReads == eAllTypes)
    {
        _checkTyped(ioConfig, iKey, iRecord.value);
    }
    if (code == 0)
    {
        _checkAttributes(ioConfig, iKey, iRecord, iReads);
    }
}

void _checkConfig(IConfig& ioConfig, const ModelValues& iExpected, Reads iReads)
{
    std::vector<PString> keys(1);
    checkCode(ioConfig.getKeys(keys), 0, "keys can be listed");
    check(keys.size() == iExpected.size(), "number of keys");
    auto key = keys.begin();
    for (const auto& [name, record] : iExpected)
    {
        checkText(textOf(*key), name, "key");
        _checkRecord(ioConfig, *key++, record, iReads);
    }
}

int _appendArguments(const Lines& iLines, ModelValues& ioValues)
{
    int result = iLines.empty() ? -502 : 0;
    for (auto line = iLines.begin(); line != iLines.end() && result == 0; ++line)
    {
        result = LineModel::append(*line, ioValues);
    }
    return result;
}

/// The values of lines, and the code of reading them.
struct Loaded
{
    ModelValues values;
    int code = 0;
};

/// One input with what the model reads in it.
struct Input
{
    explicit Input(std::string_view iBytes)
        : bytes(iBytes), lines(LineModel::linesOf(iBytes)), arguments(owned(lines))
    {
        fromFile.code = LineModel::appendFile(lines, fromFile.values);
        fromArguments.code = _appendArguments(lines, fromArguments.values);
    }

    const std::string_view bytes;
    const Lines lines;
    const std::vector<PString> arguments;
    Loaded fromFile;
    Loaded fromArguments;
};

/// The loaded values, or the fact that there are none.
void _checkLoaded(int iFoundCode, const PBaseptr<IConfig>& iConfig, const Loaded& iExpected,
                  Reads iReads)
{
    checkCode(iFoundCode, iExpected.code, "code of loading");
    check(static_cast<bool>(iConfig) == (iExpected.code == 0), "a failed load hands nothing out");
    if (iConfig)
    {
        _checkConfig(*iConfig, iExpected.values, iReads);
    }
}

void _checkLoads(const Parser& iParser, const Input& iInput)
{
    PBaseptr<IConfig> config;
    int found = iParser.manager->loadByFile(iParser.path, config);
    _checkLoaded(found, config, iInput.fromFile, eAllTypes);

    config.clear();
    found = iParser.manager->loadByArgs(iInput.arguments, config);
    _checkLoaded(found, config, iInput.fromArguments, eTexts);

    config.clear();
    const auto count = static_cast<unsigned int>(iInput.arguments.size());
    found = iParser.manager->loadByArgs(iInput.arguments.data(), count, config);
    _checkLoaded(found, config, iInput.fromArguments, eTexts);
}

/// Later values replace earlier ones, attributes stay, and the lines before a bad line are kept.
void _checkAppends(const Parser& iParser, const Input& iInput)
{
    static const Lines sFirst = {L"key = first", L"key:attribute = first"};
    static const std::vector<PString> sArguments = owned(sFirst);
    static const std::vector<PString> sReversed(sArguments.rbegin(), sArguments.rend());
    ModelValues values;
    checkCode(_appendArguments(sFirst, values), 0, "these are arguments");
    PBaseptr<IConfig> config;
    checkCode(iParser.manager->loadByArgs(sArguments, config), 0, "arguments can be loaded");

    const int code = _appendArguments(iInput.lines, values);
    checkCode(iParser.manager->appendByArgs(iInput.arguments, config), code, "code of appending");
    _checkConfig(*config, values, eTexts);
    static_cast<void>(LineModel::appendFile(iInput.lines, values));
    checkCode(iParser.manager->appendByFile(iParser.path, config), iInput.fromFile.code,
              "code of appending");
    _checkConfig(*config, values, eTexts);
    checkCode(iParser.manager->appendByArgs(sReversed.data(), 2, config), 0, "appending");
    PString found;
    checkCode(config->getString(L"key", found), 0, "code of a value");
    checkText(textOf(found), L"first", "later value");
    checkCode(config->getAttrString(L"key", L"attribute", found), 0, "code of an attribute");
    checkText(textOf(found), L"first", "first text of an attribute");
}

/// Whether a list of file names has the only one that is there to be read.
bool _namesFile(std::wstring_view iList)
{
    bool found = LineModel::trimmed(iList.substr(0, iList.find(L','))) == L"in.prs";
    for (std::size_t at = iList.find(L','); at != std::wstring_view::npos; at = iList.find(L','))
    {
        iList.remove_prefix(at + 1);
        found |= LineModel::trimmed(iList.substr(0, iList.find(L','))) == L"in.prs";
    }
    return found;
}

void _checkByID(IConfigManager& ioManager, const std::wstring& iID, const ModelValues& iFile,
                const std::wstring& iList)
{
    // A file with a bad line gives the lines before it; a second time it changes nothing.
    const ModelValues none;
    const ModelValues& expected = _namesFile(iList) ? iFile : none;
    PBaseptr<IConfig> config;
    const int code = _codeOfNames(iID, L"");
    checkCode(ioManager.loadByID(owned(iID), config), code, "code of loading by ID");
    if (code != 0)
    {
        return;
    }
    // Reads by key would also read the store.
    const PConfigValues& values = static_cast<PConfig&>(*config).values();
    check(values.size() == expected.size(), "number of keys of an ID");
    const PConfigValues::Records records = values.inOrder();
    auto found = records.begin();
    for (const auto& [key, record] : expected)
    {
        checkText(textOf((*found)->key), key, "key of an ID");
        checkText(textOf((*found)->value.fValue), record.value, "value of an ID");
        check((*found)->value.fAttributes.all().size() == record.attributes.size(),
              "attributes of an ID");
        ++found;
    }
}

/// The input as the manager's file, which maps IDs to files.
void _checkIDs(const Parser& iParser, const Input& iInput)
{
    constexpr std::size_t kMostIDs = 8;
    iParser.dir.write("ixlap.configmanager.prs", iInput.bytes);
    PConfigManager* const manager = new PConfigManager;
    const PBaseptr<IConfigManager> holder = PBaseptr<IConfigManager>::adopt(manager);
    const PString dir = owned(decoded(iParser.dir.path()));
    checkCode(manager->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir", dir), 0, "dir");

    const auto& [lists, code] = iInput.fromFile;
    PBaseptr<IConfig> config;
    checkCode(manager->loadByID(L"unlisted in any file", config), code, "code of the lists");
    std::size_t left = code == 0 ? kMostIDs : 0;
    for (auto list = lists.begin(); list != lists.end() && left > 0; ++list, --left)
    {
        // Other paths may have any content.
        if (list->second.value.find_first_of(L"/\\") == std::wstring::npos)
        {
            _checkByID(*manager, list->first, lists, list->second.value);
        }
    }
    manager->cleanup();
}

/// A line that is no entry leaves the texts unchanged.
void _checkLine(std::wstring_view iLine)
{
    ModelLine expected;
    const int code = LineModel::parse(iLine, expected);
    PConfigLine parts = {};
    checkCode(
        PConfigFormat::_parseLine({iLine.data(), static_cast<unsigned int>(iLine.size())}, parts),
        code, "line");
    if (code != 0)
    {
        check(!parts.key.text && !parts.attribute.text && !parts.value.text,
              "a bad line touches nothing");
        return;
    }
    checkText({parts.key.text, parts.key.len}, expected.key, "key of a line");
    checkText({parts.attribute.text, parts.attribute.len}, expected.attribute,
              "attribute of a line");
    checkText({parts.value.text, parts.value.len}, expected.text, "text of a line");
}

void _checkStartArguments(const Input& iInput)
{
    StartModel model;
    const int code = model.parse(iInput.lines);
    PStartArguments found;
    const auto count = static_cast<unsigned int>(iInput.arguments.size());
    checkCode(found.parse(iInput.arguments.data(), count, nullptr), code,
              "code of the core's arguments");
    checkText(textOf(found.fCorePrsFile), model.corePrsFile, "property file");
    checkText(textOf(found.fLogFile), model.logFile, "log file");
    checkText(textOf(found.fPluginsDir), model.pluginsDir, "plugins");
    check(found.fLogMaxSize == model.logMaxSize, "size of the log");
    check(found.fLogParts == model.logParts, "parts of the log");
    check(found.fLogLevel == model.logLevel, "level of the log");
    check(found.fLogMaxCount == model.logMaxCount, "lines of the log");
    check(found.fLogEnable == model.logEnable, "whether there is a log");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    static const Parser sParser;
    const Input input(bytesOf(iData, iSize));
    sParser.dir.write("in.prs", input.bytes);
    _checkLoads(sParser, input);
    _checkAppends(sParser, input);
    _checkStartArguments(input);
    _checkIDs(sParser, input);
    for (const std::wstring& line : input.lines)
    {
        _checkLine(line);
    }
    return 0;
}
