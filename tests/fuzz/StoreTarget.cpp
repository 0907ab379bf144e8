// SPDX-License-Identifier: MIT
// The store: a script of operations, compared with a model in memory. Each line of an input is one
// operation: a letter and fields separated by "/" (see Script).
#include "IConfig.h"
#include "Ixla.h"
#include "config/PConfigManager.h"
#include "config/TypedWrites.h"
#include "fuzz/Check.h"
#include "fuzz/MemoryDir.h"
#include "fuzz/StoreModel.h"
#include "fuzz/Texts.h"

#include <cstdlib>
#include <type_traits>

namespace
{
constexpr std::size_t kMostOperations = 60;
const std::wstring kOwnID = L"own";

ModelValues _ownValues()
{
    return {{L"key", {L"mine", {{L"unit", L"ms"}}}},
            {L"pinned", {L"fixed", {{L"const", L"true"}}}},
            {L"attr", {L"", {{L"b", L"2"}}}}};
}

std::string _fileOf(const std::vector<std::wstring>& iLines)
{
    std::string bytes;
    for (const std::wstring& line : iLines)
    {
        bytes += encoded(line, bytes.empty()) + '\n';
    }
    return bytes;
}

/// The fields of one operation, and its value in all types.
struct Operation
{
    Operation(std::string_view iLine, bool iHasAttribute)
    {
        id = decoded(takeField(iLine, '/'));
        key = decoded(takeField(iLine, '/'));
        attribute = iHasAttribute ? decoded(takeField(iLine, '/')) : std::wstring();
        bytes = iLine;
        text = decoded(iLine);
        number = std::strtoull(bytes.c_str(), nullptr, 10);
    }

    std::wstring id;
    std::wstring key;
    std::wstring attribute;
    std::string bytes;
    std::wstring text;
    unsigned long long number;
};

std::wstring _hex(const std::string& iBytes)
{
    std::wstring text;
    for (const char byte : iBytes)
    {
        constexpr wchar_t kDigits[] = L"0123456789abcdef";
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

/// Stores the value of an operation in the type that its letter means, and returns it as a text.
template <class... TNames>
int _store(IConfigManager& ioManager, const TypedWrites<TNames...>& iWrites, char iKind,
           const Operation& iOperation, std::wstring& oText, std::type_identity_t<TNames>... iNames)
{
    const auto write = [&](const std::wstring& iText, auto iWrite, auto... iValue)
    {
        oText = iText;
        return (ioManager.*iWrite)(iNames..., iValue...);
    };
    const auto number = [&](auto iWrite, auto iValue)
    {
        return write(std::to_wstring(iValue), iWrite, iValue);
    };
    const std::string& bytes = iOperation.bytes;
    const bool truth = iOperation.number % 2 != 0;
    switch (iKind)
    {
    case 'i':
        return number(iWrites.int32, static_cast<int>(iOperation.number));
    case 'u':
        return number(iWrites.uint32, static_cast<unsigned int>(iOperation.number));
    case 'I':
        return number(iWrites.int64, static_cast<long long>(iOperation.number));
    case 'U':
        return number(iWrites.uint64, iOperation.number);
    case 't':
        return write(truth ? L"true" : L"false", iWrites.truth, truth);
    case 'b':
        return write(_hex(bytes), iWrites.binary,
                     reinterpret_cast<const unsigned char*>(bytes.data()),
                     static_cast<unsigned int>(bytes.size()));
    default:
        return write(iOperation.text, iWrites.text, owned(iOperation.text));
    }
}

/// One run: the manager, the model, and the operations on both.
///   s i u I U t b  ID/KEY/VALUE            store a text, number (four kinds), truth value, bytes
///   S 1 2 3 4 T B  ID/KEY/ATTRIBUTE/VALUE  the same as attributes
///   r ID/KEY   R ID/KEY/ATTRIBUTE          remove
///   g ID/KEY/ATTRIBUTE                     read
///   l  list the IDs   n  start again with another manager   N  the same without a load
///   x LINE  add a line to the file   m  delete the file
class Script
{
public:
    explicit Script(const MemoryDir& iDir) : fDir(iDir), fModel(_ownValues())
    {
        fDir.remove("store.txt");
        begin(true);
    }

    ~Script()
    {
        end();
    }

    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

    void run(std::string_view iLine);

    /// Checks all names used so far, through another manager.
    void review();

private:
    typedef std::vector<std::wstring> Names;

    void begin(bool iLoad);
    void end();
    PBaseptr<IConfig> load(const std::wstring& iID);
    void store(char iKind, const Operation& iOperation);
    void storeAttribute(char iKind, const Operation& iOperation);
    void remove(const Operation& iOperation);
    void removeAttribute(const Operation& iOperation);
    void read(const Operation& iOperation);
    void list();
    void addLine(std::string_view iLine);
    void checkFile(int iCode);

    const MemoryDir& fDir;
    StoreModel fModel;
    PBaseptr<IConfigManager> fManager;
    std::vector<Operation> fNamed;
};

void Script::begin(bool iLoad)
{
    fManager = PBaseptr<IConfigManager>::adopt(new PConfigManager);
    fModel.restart();
    const PString dir = owned(decoded(fDir.path()));
    checkCode(fManager->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir", dir), 0, "dir");
    if (iLoad)
    {
        load(kOwnID);
    }
}

// The manager and its configurations hold references to each other.
void Script::end()
{
    static_cast<PConfigManager&>(*fManager).cleanup();
    fManager.clear();
}

PBaseptr<IConfig> Script::load(const std::wstring& iID)
{
    PBaseptr<IConfig> config;
    const int code = LineModel::isName(iID) ? 0 : -3004;
    checkCode(fManager->loadByID(owned(iID), config), code, "code of loading by ID");
    if (code == 0)
    {
        fModel.load();
    }
    return config;
}

void Script::store(char iKind, const Operation& iOperation)
{
    std::wstring text;
    const int code = _store(*fManager, kStoreWrites, iKind, iOperation, text, owned(iOperation.id),
                            owned(iOperation.key));
    checkCode(code, fModel.store(iOperation.id, iOperation.key, text), "code of storing");
    checkFile(code);
}

void Script::storeAttribute(char iKind, const Operation& iOperation)
{
    const std::size_t type = std::string_view("S1234TB").find(iKind);
    std::wstring text;
    const int code =
        _store(*fManager, kStoreAttrWrites, "siuIUtb"[type], iOperation, text, owned(iOperation.id),
               owned(iOperation.key), owned(iOperation.attribute));
    const int expected =
        fModel.storeAttribute(iOperation.id, iOperation.key, iOperation.attribute, text);
    checkCode(code, expected, "code of storing an attribute");
    checkFile(code);
}

void Script::remove(const Operation& iOperation)
{
    const int code = fManager->removeStoredKey(owned(iOperation.id), owned(iOperation.key));
    checkCode(code, fModel.remove(iOperation.id, iOperation.key), "code of removing");
    checkFile(code);
}

void Script::removeAttribute(const Operation& iOperation)
{
    const int code = fManager->removeStoredAttr(owned(iOperation.id), owned(iOperation.key),
                                                owned(iOperation.attribute));
    const int expected =
        fModel.removeAttribute(iOperation.id, iOperation.key, iOperation.attribute);
    checkCode(code, expected, "code of removing an attribute");
    checkFile(code);
}

void Script::read(const Operation& iOperation)
{
    const PBaseptr<IConfig> config = load(iOperation.id);
    if (!config)
    {
        return;
    }
    const bool hasOwn = iOperation.id == kOwnID;
    // Without an ID there are only own values.
    const bool asks = !iOperation.id.empty();
    std::wstring expected = L"before";
    PString found(L"before");
    int code = asks ? fModel.read(iOperation.id, hasOwn, iOperation.key, expected)
                    : (LineModel::isName(iOperation.key) ? -504 : -3004);
    checkCode(config->getString(owned(iOperation.key), found), code, "code of reading");
    checkText(textOf(found), expected, "value");
    if (!asks)
    {
        return;
    }
    expected = L"before";
    found = L"before";
    code =
        fModel.readAttribute(iOperation.id, hasOwn, iOperation.key, iOperation.attribute, expected);
    const int foundCode =
        config->getAttrString(owned(iOperation.key), owned(iOperation.attribute), found);
    checkCode(foundCode, code, "code of reading an attribute");
    checkText(textOf(found), expected, "text of an attribute");
}

void Script::list()
{
    Names expected;
    const int code = fModel.list({kOwnID}, expected);
    std::vector<PString> ids(1);
    checkCode(fManager->listIDs(ids), code, "code of listing");
    check(ids.size() == expected.size(), "number of IDs");
    for (std::size_t i = 0; i < ids.size(); ++i)
    {
        checkText(textOf(ids[i]), expected[i], "ID");
    }
}

void Script::addLine(std::string_view iLine)
{
    const std::wstring line = decoded(iLine);
    std::vector<std::wstring> lines = fModel.lines();
    fModel.addLine(line);
    lines.push_back(line);
    fDir.write("store.txt", _fileOf(lines));
}

/// After an operation the file has the lines of the model.
void Script::checkFile(int iCode)
{
    if (iCode == 0)
    {
        const std::vector<std::wstring> lines = LineModel::linesOf(fDir.read("store.txt"));
        check(lines == fModel.lines(), "lines of the store file");
    }
}

void Script::run(std::string_view iLine)
{
    const char kind = iLine.empty() ? 'l' : iLine[0];
    const std::string_view fields = iLine.substr(iLine.empty() ? 0 : 1);
    const bool hasAttribute = std::string_view("S1234TBRg").find(kind) != std::string_view::npos;
    if (kind == 'x')
    {
        return addLine(fields);
    }
    if (kind == 'm')
    {
        fModel.deleteFile();
        return fDir.remove("store.txt");
    }
    if (kind == 'n' || kind == 'N')
    {
        end();
        return begin(kind == 'n');
    }
    if (kind == 'l')
    {
        return list();
    }
    const Operation& operation = fNamed.emplace_back(fields, hasAttribute);
    if (kind == 'g')
    {
        return read(operation);
    }
    if (kind == 'r')
    {
        return remove(operation);
    }
    if (kind == 'R')
    {
        return removeAttribute(operation);
    }
    hasAttribute ? storeAttribute(kind, operation) : store(kind, operation);
}

void Script::review()
{
    end();
    begin(true);
    list();
    for (const Operation& operation : fNamed)
    {
        read(operation);
    }
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    static const MemoryDir sDir;
    sDir.write("ixlap.configmanager.prs",
               "own = own.prs\nixlap.configmanager.store.file = store.txt\n");
    sDir.write("own.prs", _fileOf(LineModel::render(_ownValues())));
    Script script(sDir);
    std::size_t left = kMostOperations;
    for (const std::string_view line : split(bytesOf(iData, iSize), '\n'))
    {
        if (left-- == 0)
        {
            break;
        }
        script.run(line);
    }
    script.review();
    return 0;
}
