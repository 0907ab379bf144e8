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
#include "fuzz/Texts.h"

#include <algorithm>
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

int _codeOfNames(const std::wstring& iKey, const std::wstring& iAttribute)
{
    return LineModel::isName(iKey) && LineModel::isName(iAttribute) ? 0 : -3004;
}

template <class TValue>
void _checkNumber(const std::wstring& iText, int (IConfig::*iRead)(const PLiteral&, TValue&),
                  IConfig& ioConfig, const std::wstring& iKey)
{
    TValue expected = 0;
    TValue found = 0;
    const int code = ConversionModel::toNumber(iText, expected);
    checkCode((ioConfig.*iRead)(owned(iKey), found), code, "code of a number");
    check(found == expected, "number");
}

template <class TValue>
void _checkNumber(const std::wstring& iText,
                  int (IConfig::*iRead)(const PLiteral&, const PLiteral&, TValue&),
                  IConfig& ioConfig, const std::wstring& iKey, const std::wstring& iAttribute)
{
    TValue expected = 0;
    TValue found = 0;
    const int code = ConversionModel::toNumber(iText, expected);
    checkCode((ioConfig.*iRead)(owned(iKey), owned(iAttribute), found), code,
              "code of an attribute's number");
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

void _checkTyped(IConfig& ioConfig, const std::wstring& iKey, const std::wstring& iText)
{
    _checkNumber(iText, &IConfig::getInt32, ioConfig, iKey);
    _checkNumber(iText, &IConfig::getUint32, ioConfig, iKey);
    _checkNumber(iText, &IConfig::getInt64, ioConfig, iKey);
    _checkNumber(iText, &IConfig::getUint64, ioConfig, iKey);
    const PString key = owned(iKey);
    bool truth = false;
    int code = ioConfig.getBool(key, truth);
    _checkBool(iText, code, truth);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    code = ioConfig.getBinary(key, data, size);
    _checkBinary(iText, code, data, size);
}

void _checkTyped(IConfig& ioConfig, const std::wstring& iKey, const std::wstring& iAttribute,
                 const std::wstring& iText)
{
    _checkNumber(iText, &IConfig::getAttrInt32, ioConfig, iKey, iAttribute);
    _checkNumber(iText, &IConfig::getAttrUint32, ioConfig, iKey, iAttribute);
    _checkNumber(iText, &IConfig::getAttrInt64, ioConfig, iKey, iAttribute);
    _checkNumber(iText, &IConfig::getAttrUint64, ioConfig, iKey, iAttribute);
    const PString key = owned(iKey);
    const PString attribute = owned(iAttribute);
    bool truth = false;
    int code = ioConfig.getAttrBool(key, attribute, truth);
    _checkBool(iText, code, truth);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    code = ioConfig.getAttrBinary(key, attribute, data, size);
    _checkBinary(iText, code, data, size);
}

void _checkAttributes(IConfig& ioConfig, const std::wstring& iKey, const ModelRecord& iRecord)
{
    std::vector<PString> names;
    checkCode(ioConfig.getAttributes(owned(iKey), names), 0, "attributes can be listed");
    check(names.size() == iRecord.attributes.size(), "number of attributes");
    auto name = names.begin();
    for (const auto& [attribute, text] : iRecord.attributes)
    {
        checkText(textOf(*name++), attribute, "attribute");
        PString found(L"before");
        const int code = _codeOfNames(iKey, attribute);
        checkCode(ioConfig.getAttrString(owned(iKey), owned(attribute), found), code,
                  "code of an attribute");
        checkText(textOf(found), code == 0 ? text : L"before", "text of an attribute");
        if (code == 0)
        {
            _checkTyped(ioConfig, iKey, attribute, text);
        }
    }
}

void _checkRecord(IConfig& ioConfig, const std::wstring& iKey, const ModelRecord& iRecord)
{
    PString found(L"before");
    const int code = _codeOfNames(iKey, L"");
    checkCode(ioConfig.getString(owned(iKey), found), code, "code of a value");
    checkText(textOf(found), code == 0 ? iRecord.value : L"before", "value");
    if (code == 0)
    {
        _checkTyped(ioConfig, iKey, iRecord.value);
        _checkAttributes(ioConfig, iKey, iRecord);
    }
}

void _checkConfig(IConfig& ioConfig, const ModelValues& iExpected)
{
    std::vector<PString> keys(1);
    checkCode(ioConfig.getKeys(keys), 0, "keys can be listed");
    check(keys.size() == iExpected.size(), "number of keys");
    auto key = keys.begin();
    for (const auto& [name, record] : iExpected)
    {
        checkText(textOf(*key++), name, "key");
        _checkRecord(ioConfig, name, record);
    }
}

/// The loaded values, or the fact that there are none.
void _checkLoaded(int iFoundCode, const PBaseptr<IConfig>& iConfig, int iCode,
                  const ModelValues& iExpected)
{
    checkCode(iFoundCode, iCode, "code of loading");
    check(static_cast<bool>(iConfig) == (iCode == 0), "a failed load hands nothing out");
    if (iConfig)
    {
        _checkConfig(*iConfig, iExpected);
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

void _checkLoads(const Parser& iParser, const Lines& iLines)
{
    ModelValues values;
    const int fileCode = LineModel::appendFile(iLines, values);
    PBaseptr<IConfig> config;
    int found = iParser.manager->loadByFile(iParser.path, config);
    _checkLoaded(found, config, fileCode, values);

    values.clear();
    config.clear();
    const std::vector<PString> arguments = owned(iLines);
    const int code = _appendArguments(iLines, values);
    found = iParser.manager->loadByArgs(arguments, config);
    _checkLoaded(found, config, code, values);

    config.clear();
    const auto count = static_cast<unsigned int>(arguments.size());
    found = iParser.manager->loadByArgs(arguments.data(), count, config);
    _checkLoaded(found, config, code, values);
}

/// Later values replace earlier ones, attributes stay, and the lines before a bad line are kept.
void _checkAppends(const Parser& iParser, const Lines& iLines)
{
    Lines first = {L"key = first", L"key:attribute = first"};
    ModelValues values;
    checkCode(_appendArguments(first, values), 0, "these are arguments");
    PBaseptr<IConfig> config;
    checkCode(iParser.manager->loadByArgs(owned(first), config), 0, "arguments can be loaded");

    const std::vector<PString> arguments = owned(iLines);
    int code = _appendArguments(iLines, values);
    checkCode(iParser.manager->appendByArgs(arguments, config), code, "code of appending");
    _checkConfig(*config, values);
    code = LineModel::appendFile(iLines, values);
    checkCode(iParser.manager->appendByFile(iParser.path, config), code, "code of appending");
    _checkConfig(*config, values);
    std::reverse(first.begin(), first.end());
    code = _appendArguments(first, values);
    checkCode(iParser.manager->appendByArgs(owned(first).data(), 2, config), code, "appending");
    _checkConfig(*config, values);
}

/// The file names of a list; only "in.prs" is there to be read.
std::size_t _countFiles(const std::wstring& iList)
{
    std::size_t count = 0;
    for (std::wstring rest = iList + L','; !rest.empty(); rest.erase(0, rest.find(L',') + 1))
    {
        count += LineModel::trimmed(rest.substr(0, rest.find(L','))) == L"in.prs";
    }
    return count;
}

void _checkByID(IConfigManager& ioManager, const std::wstring& iID, const Lines& iLines,
                const std::wstring& iList)
{
    ModelValues expected;
    for (std::size_t left = _countFiles(iList); left > 0; --left)
    {
        // A file with a bad line gives the lines before it.
        static_cast<void>(LineModel::appendFile(iLines, expected));
    }
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
void _checkIDs(const Parser& iParser, std::string_view iBytes, const Lines& iLines)
{
    constexpr std::size_t kMostIDs = 8;
    iParser.dir.write("ixlap.configmanager.prs", iBytes);
    PConfigManager* const manager = new PConfigManager;
    const PBaseptr<IConfigManager> holder = PBaseptr<IConfigManager>::adopt(manager);
    const PString dir = owned(decoded(iParser.dir.path()));
    checkCode(manager->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir", dir), 0, "dir");

    ModelValues lists;
    const int code = LineModel::appendFile(iLines, lists);
    PBaseptr<IConfig> config;
    checkCode(manager->loadByID(L"unlisted in any file", config), code, "code of the lists");
    std::size_t left = code == 0 ? kMostIDs : 0;
    for (auto list = lists.begin(); list != lists.end() && left > 0; ++list, --left)
    {
        // Other paths may have any content.
        if (list->second.value.find_first_of(L"/\\") == std::wstring::npos)
        {
            _checkByID(*manager, list->first, iLines, list->second.value);
        }
    }
    manager->cleanup();
}

/// A line that is no entry leaves the texts unchanged.
void _checkLine(const std::wstring& iLine)
{
    ModelValues values;
    const int code = LineModel::append(iLine, values);
    const auto len = static_cast<unsigned int>(iLine.size());
    PConfigLine parts = {};
    checkCode(PConfigFormat::_parseLine({iLine.data(), len}, parts), code, "line");
    if (code != 0)
    {
        check(!parts.key.text && !parts.attribute.text && !parts.value.text,
              "a bad line touches nothing");
        return;
    }
    checkText(std::wstring(parts.key.text, parts.key.len), values.begin()->first, "key of a line");
    const ModelRecord& record = values.begin()->second;
    const bool plain = record.attributes.empty();
    const std::wstring name = plain ? std::wstring() : record.attributes.begin()->first;
    checkText(std::wstring(parts.attribute.text, parts.attribute.len), name, "attribute of a line");
    const std::wstring text = plain ? record.value : record.attributes.begin()->second;
    checkText(std::wstring(parts.value.text, parts.value.len), text, "text of a line");
}

/// The settings that the core reads from its arguments.
struct StartModel
{
    int parse(const std::wstring& iArgument);

    std::map<std::wstring, std::wstring> paths;
    std::map<std::wstring, int> numbers;
    bool enable = true;
};

int StartModel::parse(const std::wstring& iArgument)
{
    const std::size_t equals = iArgument.find(L'=');
    const std::wstring key = LineModel::trimmed(iArgument.substr(0, equals));
    if (equals == std::wstring::npos)
    {
        return 0;
    }
    std::wstring value = LineModel::trimmed(iArgument.substr(equals + 1));
    if (key == L"core.log.enable")
    {
        return ConversionModel::toBool(value, enable) == 0 ? 0 : -502;
    }
    const bool limit = key == L"core.log.maxsize" || key == L"core.log.parts";
    if (limit || key == L"core.log.level" || key == L"core.log.maxcount")
    {
        int number = 0;
        const bool taken = ConversionModel::toNumber(value, number) == 0 && !(limit && number < 0);
        numbers[key] = taken ? number : numbers[key];
        return taken || key == L"core.log.maxcount" ? 0 : -502;
    }
    if (key == L"core.prs.file" || key == L"core.log.file")
    {
        std::replace(value.begin(), value.end(), L'\\', L'/');
    }
    paths[key] = value;
    return 0;
}

void _checkStartArguments(const Lines& iLines)
{
    StartModel model;
    int code = 0;
    for (auto line = iLines.begin(); line != iLines.end() && code == 0; ++line)
    {
        code = model.parse(*line);
    }
    PStartArguments found;
    const std::vector<PString> arguments = owned(iLines);
    const auto count = static_cast<unsigned int>(arguments.size());
    checkCode(found.parse(arguments.data(), count, nullptr), code, "code of the core's arguments");
    checkText(textOf(found.fCorePrsFile), model.paths[L"core.prs.file"], "property file");
    checkText(textOf(found.fLogFile), model.paths[L"core.log.file"], "log file");
    checkText(textOf(found.fPluginsDir), model.paths[L"core.plugins.dir"], "plugins");
    check(found.fLogMaxSize == model.numbers[L"core.log.maxsize"], "size of the log");
    check(found.fLogParts == model.numbers[L"core.log.parts"], "parts of the log");
    check(found.fLogLevel == model.numbers[L"core.log.level"], "level of the log");
    check(found.fLogMaxCount == model.numbers[L"core.log.maxcount"], "lines of the log");
    check(found.fLogEnable == model.enable, "whether there is a log");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    static const Parser sParser;
    const std::string_view bytes = bytesOf(iData, iSize);
    const Lines lines = LineModel::linesOf(bytes);
    sParser.dir.write("in.prs", bytes);
    _checkLoads(sParser, lines);
    _checkAppends(sParser, lines);
    _checkStartArguments(lines);
    _checkIDs(sParser, bytes, lines);
    for (const std::wstring& line : lines)
    {
        _checkLine(line);
    }
    return 0;
}
