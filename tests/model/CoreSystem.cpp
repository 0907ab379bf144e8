// SPDX-License-Identifier: MIT
#include "model/CoreSystem.h"

#include "IConfigChanged.h"
#include "Ixla.h"
#include "config/TypedWrites.h"
#include "support/Texts.h"

#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <type_traits>

namespace
{
const unsigned char sBytes[] = {0xa0, 0x0f, 0xa0};

std::vector<PString> _wideLines(const Step& iStep)
{
    std::vector<PString> lines;
    for (const std::string& line : iStep.lines())
    {
        lines.push_back(wide(line));
    }
    return lines;
}

std::string _join(const std::vector<std::string>& iLines)
{
    std::string text;
    for (const std::string& line : iLines)
    {
        text += line + "\n";
    }
    return text;
}

/// The typed getters of values, or of attributes. Before the value they have texts.
template <class... TNames>
struct TypedReads
{
    template <class... TValue>
    using Read = int (IConfig::*)(TNames..., TValue&...);

    Read<int> int32;
    Read<unsigned int> uint32;
    Read<long long> int64;
    Read<unsigned long long> uint64;
    Read<bool> truth;
    Read<unsigned char*, unsigned int> binary;
};

constexpr TypedReads<const PLiteral&> kReads = {&IConfig::getInt32, &IConfig::getUint32,
                                                &IConfig::getInt64, &IConfig::getUint64,
                                                &IConfig::getBool,  &IConfig::getBinary};
constexpr TypedReads<const PLiteral&, const PLiteral&> kAttrReads = {
    &IConfig::getAttrInt32,  &IConfig::getAttrUint32, &IConfig::getAttrInt64,
    &IConfig::getAttrUint64, &IConfig::getAttrBool,   &IConfig::getAttrBinary};

int _readBinary(std::string& ioText, const std::function<int(unsigned char*&, unsigned int&)>& iGet)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    const int result = iGet(data, size);
    const std::unique_ptr<unsigned char[]> owned(data);
    if (result != 0)
    {
        return result;
    }
    ioText.clear();
    for (unsigned int i = 0; i < size; ++i)
    {
        ioText += "0123456789abcdef"[data[i] / 16];
        ioText += "0123456789abcdef"[data[i] % 16];
    }
    return result;
}

/// Reads a value of the type as a text, which stays the same on failure.
template <class... TNames>
int _readTyped(IConfig& ioConfig, const TypedReads<TNames...>& iReads, Type iType,
               std::string& ioText, std::type_identity_t<TNames>... iNames)
{
    const auto read = [&](auto iRead, auto iValue)
    {
        const int result = (ioConfig.*iRead)(iNames..., iValue);
        ioText = result == 0 ? std::to_string(iValue) : ioText;
        return result;
    };
    switch (iType)
    {
    case Type::eInt32:
        return read(iReads.int32, 0);
    case Type::eUint32:
        return read(iReads.uint32, 0u);
    case Type::eInt64:
        return read(iReads.int64, 0LL);
    case Type::eUint64:
        return read(iReads.uint64, 0ULL);
    case Type::eBool:
    {
        bool truth = false;
        const int result = (ioConfig.*iReads.truth)(iNames..., truth);
        ioText = result == 0 ? (truth ? "true" : "false") : ioText;
        return result;
    }
    default:
        return _readBinary(ioText, [&](unsigned char*& oData, unsigned int& oSize)
                           { return (ioConfig.*iReads.binary)(iNames..., oData, oSize); });
    }
}

/// Sets or stores the number of a step as its type.
template <class... TNames>
int _writeTyped(IConfigManager& ioManager, const TypedWrites<TNames...>& iWrites, const Step& iStep,
                std::type_identity_t<TNames>... iNames)
{
    const long long number = iStep.numberValue();
    switch (iStep.type)
    {
    case Type::eInt32:
        return (ioManager.*iWrites.int32)(iNames..., static_cast<int>(number));
    case Type::eUint32:
        return (ioManager.*iWrites.uint32)(iNames..., static_cast<unsigned int>(number));
    case Type::eInt64:
        return (ioManager.*iWrites.int64)(iNames..., number);
    case Type::eUint64:
        return (ioManager.*iWrites.uint64)(iNames..., static_cast<unsigned long long>(number));
    case Type::eBool:
        return (ioManager.*iWrites.truth)(iNames..., number % 2 != 0);
    default:
        const auto size = static_cast<unsigned int>(number > 0 ? number % 4 : 0);
        return (ioManager.*iWrites.binary)(iNames..., sBytes, size);
    }
}
} // namespace

CoreSystem::CoreSystem(bool iLogsEnabled)
{
    fSetup.dir = fCore.dir.path().string();
    fSetup.logsEnabled = iLogsEnabled;
    std::string lists;
    for (const auto& [id, files] : ModelSetup::filesOfIds())
    {
        lists += id + " = ";
        for (const std::string& file : files)
        {
            lists += (&file == files.data() ? "" : ",") + file;
        }
        lists += "\n";
    }
    fCore.writeManagerConfig(lists);
    fCore.set("core.log.level", "-1");
    fCore.set("core.plugins.log.enable", iLogsEnabled ? "true" : "false");
    fCore.set("core.plugins.log.level", std::to_string(fSetup.logLevel));
    fCore.set(std::string("custom.config.") + ModelSetup::kRedirected, fSetup.filePath(3));
    for (std::size_t i = 0; i < fListeners.size(); ++i)
    {
        fListeners[i] = PBaseptr<ModelListener>::adopt(
            new ModelListener([this, i](const PLiteral& iTopic, IBase* iParam1, int iParam2)
                              { deliver(i, iTopic, iParam1, iParam2); }));
    }
    start();
}

CoreSystem::~CoreSystem()
{
    stop();
}

const ModelSetup& CoreSystem::setup() const
{
    return fSetup;
}

void CoreSystem::start()
{
    if (fCore.start() != 0)
    {
        throw std::runtime_error("the core did not start");
    }
    fManager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
    fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
    fLogger = fCore.get<ILogger>(kIxlaLoggerId);
}

/// Releases references after the stop, so that listeners of the exit event can still use them.
void CoreSystem::stop()
{
    const int result = fCore.stop();
    if (result != 0)
    {
        tell("stop: " + std::to_string(result));
    }
    fConfigs = {};
    fLoggers = {};
    fReactions = {};
}

void CoreSystem::take(const Step& iStep)
{
    if (!takeLoad(iStep) && !takeRead(iStep) && !takeSet(iStep) && !takeStore(iStep) &&
        !takeEvent(iStep) && !takeLog(iStep))
    {
        takeOther(iStep);
    }
}

bool CoreSystem::takeLoad(const Step& iStep)
{
    PBaseptr<IConfig>& config = fConfigs[iStep.slot];
    const PString path = wide(fSetup.filePath(iStep.file));
    switch (iStep.op)
    {
    case Op::eLoadById:
        tell(fManager->loadByID(wide(iStep.idName()), config));
        return true;
    case Op::eLoadByFile:
        tell(fManager->loadByFile(path, config));
        return true;
    case Op::eLoadByArgs:
        tell(loadByArgs(iStep, config));
        return true;
    case Op::eAppendById:
        if (config)
        {
            tell(fManager->appendByID(wide(iStep.idName()), config));
        }
        return true;
    case Op::eAppendByFile:
        tell(fManager->appendByFile(path, config));
        return true;
    case Op::eAppendByArgs:
        tell(appendByArgs(iStep, config));
        return true;
    default:
        return false;
    }
}

/// As a vector or as an array.
int CoreSystem::loadByArgs(const Step& iStep, PBaseptr<IConfig>& oConfig)
{
    const std::vector<PString> lines = _wideLines(iStep);
    if (iStep.number % 2 == 0)
    {
        return fManager->loadByArgs(lines, oConfig);
    }
    return fManager->loadByArgs(lines.data(), static_cast<unsigned int>(lines.size()), oConfig);
}

int CoreSystem::appendByArgs(const Step& iStep, const PBaseptr<IConfig>& iConfig)
{
    const std::vector<PString> lines = _wideLines(iStep);
    if (iStep.number % 2 == 0)
    {
        return fManager->appendByArgs(lines, iConfig);
    }
    return fManager->appendByArgs(lines.data(), static_cast<unsigned int>(lines.size()), iConfig);
}

bool CoreSystem::takeRead(const Step& iStep)
{
    IConfig* const config = fConfigs[iStep.slot].get();
    std::vector<PString> names{PString(wide(kUntouched))};
    switch (iStep.op)
    {
    case Op::eGetKeys:
        if (config)
        {
            const int result = config->getKeys(names);
            tellList(result, names);
        }
        return true;
    case Op::eGetAttributes:
        if (config)
        {
            const int result = config->getAttributes(wide(iStep.keyName()), names);
            tellList(result, names);
        }
        return true;
    case Op::eGetText:
    case Op::eGetTyped:
        if (config)
        {
            readText(iStep, *config);
        }
        return true;
    case Op::eGetAttrText:
    case Op::eGetAttrTyped:
        if (config)
        {
            readAttribute(iStep, *config);
        }
        return true;
    default:
        return false;
    }
}

void CoreSystem::readText(const Step& iStep, IConfig& iConfig)
{
    std::string read = kUntouched;
    if (iStep.op == Op::eGetTyped)
    {
        const int result = _readTyped(iConfig, kReads, iStep.type, read, wide(iStep.keyName()));
        return tell(result, read);
    }
    PString text = wide(kUntouched);
    const int result = iConfig.getString(wide(iStep.keyName()), text);
    tell(result, narrow(text));
}

void CoreSystem::readAttribute(const Step& iStep, IConfig& iConfig)
{
    const PString key = wide(iStep.keyName());
    const PString attribute = wide(iStep.attributeName());
    std::string read = kUntouched;
    if (iStep.op == Op::eGetAttrTyped)
    {
        const int result = _readTyped(iConfig, kAttrReads, iStep.type, read, key, attribute);
        return tell(result, read);
    }
    PString text = wide(kUntouched);
    const int result = iConfig.getAttrString(key, attribute, text);
    tell(result, narrow(text));
}

bool CoreSystem::takeSet(const Step& iStep)
{
    const PString id = wide(iStep.idName());
    const PString key = wide(iStep.keyName());
    const PString attribute = wide(iStep.attributeName());
    const PString text = wide(iStep.textValue());
    switch (iStep.op)
    {
    case Op::eSetText:
        tell(fManager->setString(id, key, text));
        return true;
    case Op::eSetTyped:
        tell(_writeTyped(*fManager, kSetWrites, iStep, id, key));
        return true;
    case Op::eSetAttrText:
        tell(fManager->setAttrString(id, key, attribute, text));
        return true;
    case Op::eSetAttrTyped:
        tell(_writeTyped(*fManager, kSetAttrWrites, iStep, id, key, attribute));
        return true;
    case Op::eRemoveSet:
        tell(fManager->removeSetKey(id, key));
        return true;
    case Op::eRemoveSetAttr:
        tell(fManager->removeSetAttr(id, key, attribute));
        return true;
    case Op::eAddChangeListener:
        tell(fManager->addListener(id, wide(iStep.topicName())));
        return true;
    case Op::eRemoveChangeListener:
        tell(fManager->removeListener(id, wide(iStep.topicName())));
        return true;
    default:
        return false;
    }
}

bool CoreSystem::takeStore(const Step& iStep)
{
    const PString id = wide(iStep.idName());
    const PString key = wide(iStep.keyName());
    const PString attribute = wide(iStep.attributeName());
    switch (iStep.op)
    {
    case Op::eStoreText:
        tellStore(fManager->storeString(id, key, wide(iStep.textValue())));
        return true;
    case Op::eStoreTyped:
        tellStore(_writeTyped(*fManager, kStoreWrites, iStep, id, key));
        return true;
    case Op::eStoreAttrText:
        tellStore(fManager->storeAttrString(id, key, attribute, wide(iStep.textValue())));
        return true;
    case Op::eStoreAttrTyped:
        tellStore(_writeTyped(*fManager, kStoreAttrWrites, iStep, id, key, attribute));
        return true;
    case Op::eRemoveStored:
        tellStore(fManager->removeStoredKey(id, key));
        return true;
    case Op::eRemoveStoredAttr:
        tellStore(fManager->removeStoredAttr(id, key, attribute));
        return true;
    case Op::eEditStore:
        writeFile(fCore.storeFile(), iStep.storeText());
        return true;
    default:
        return false;
    }
}

void CoreSystem::tellStore(int iResult)
{
    const bool exists = std::ifstream(fCore.storeFile()).is_open();
    tell(iResult, exists ? readFile(fCore.storeFile()) : "no file");
}

bool CoreSystem::takeEvent(const Step& iStep)
{
    const PString topic = wide(iStep.topicName());
    switch (iStep.op)
    {
    case Op::eSubscribe:
        tell(fDispatcher->addListener(topic, listener(iStep)));
        break;
    case Op::eUnsubscribe:
        tell(fDispatcher->removeListener(topic, listener(iStep)));
        break;
    case Op::eSend:
        tell(fDispatcher->send(topic, nullptr, static_cast<int>(iStep.number)));
        return tellReferences(), true;
    case Op::eReact:
        if (iStep.listener < Alphabet::kListeners)
        {
            fReactions[iStep.listener] = iStep.reactionStep();
        }
        return true;
    default:
        return false;
    }
    if (topic.len() > 0 && listener(iStep))
    {
        tellReferences();
    }
    return true;
}

IEventListener* CoreSystem::listener(const Step& iStep) const
{
    return iStep.listener < Alphabet::kListeners ? fListeners[iStep.listener].get() : nullptr;
}

void CoreSystem::deliver(std::size_t iListener, const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    std::string event;
    if (iParam1)
    {
        const IConfigChanged& change = *static_cast<IConfigChanged*>(iParam1);
        PString id;
        PString key;
        PString attribute;
        const bool known =
            change.getID(id) == 0 && change.getKey(key) == 0 && change.getAttribute(attribute) == 0;
        event = "type " + std::to_string(change.getType()) + " " + narrow(id) + "/" + narrow(key) +
                "/" + narrow(attribute) + (known ? "" : " failed");
    }
    tell("[listener" + std::to_string(iListener) + " " + narrow(iTopic) + " " + event + " " +
         std::to_string(iParam2));
    if (fReactions[iListener])
    {
        const Step reaction = *fReactions[iListener];
        fReactions[iListener].reset();
        act(reaction);
    }
    tell("]");
}

void CoreSystem::tellReferences()
{
    if (!isOutermost())
    {
        return;
    }
    for (const PBaseptr<ModelListener>& listener : fListeners)
    {
        tell("r" + std::to_string(listener->references()));
    }
}

bool CoreSystem::takeLog(const Step& iStep)
{
    PBaseptr<ILogger>& logger = fLoggers[iStep.slot];
    switch (iStep.op)
    {
    case Op::eGetLogger:
        getLogger(iStep);
        return true;
    case Op::eDefaultLogger:
        logger = PBaseptr<ILogger>(fLogger);
        return true;
    case Op::eCopyLogger:
        logger = fLoggers[iStep.other];
        return true;
    case Op::eWrapLogger:
        logger = PBaseptr<ILogger>(fLoggers[iStep.other].get());
        return true;
    case Op::eDropLogger:
        logger.clear();
        return true;
    case Op::eSetLevel:
        if (logger && logger->setLevel(iStep.levelValue()) != 0)
        {
            tell("setLevel failed");
        }
        return true;
    case Op::eWriteLog:
        writeLog(iStep);
        return true;
    case Op::eReadLog:
        readLog(iStep.logName());
        return true;
    default:
        return false;
    }
}

/// Every logger returns all others.
void CoreSystem::getLogger(const Step& iStep)
{
    const PBaseptr<ILogger>& other = fLoggers[iStep.other];
    // A new holder, because a copy would keep the logger in the cache.
    const PBaseptr<ILogger> asked(other ? other.get() : fLogger);
    const int result = asked->getLogger(wide(iStep.logName()), fLoggers[iStep.slot]);
    std::string holders;
    for (const PBaseptr<ILogger>& logger : fLoggers)
    {
        std::size_t first = 0;
        while (logger && fLoggers[first].get() != logger.get())
        {
            ++first;
        }
        holders += logger ? std::to_string(first) : "-";
    }
    tell(result, holders);
}

void CoreSystem::writeLog(const Step& iStep)
{
    const PBaseptr<ILogger>& logger = fLoggers[iStep.slot];
    if (!logger)
    {
        return;
    }
    const PString text = wide(iStep.textValue());
    const long long number = iStep.numberValue();
    const wchar_t* const format = L"model %ls %lld";
    const int level = iStep.levelValue();
    int result = 0;
    switch (iStep.seed % 3)
    {
    case 0:
        result = logger->info(level, format, text.ptr(), number);
        break;
    case 1:
        result = logger->error(level, format, text.ptr(), number);
        break;
    default:
        result = logger->debug(level, format, text.ptr(), number);
    }
    if (result != 0)
    {
        tell(result);
    }
}

/// The lines of this test, without the services' own, from their kind on.
void CoreSystem::readLog(const std::string& iName)
{
    const std::string path = fCore.pluginLogFile(iName);
    if (!std::ifstream(path).is_open())
    {
        return tell("no file");
    }
    std::string lines;
    for (const std::string& line : readLines(path))
    {
        const std::size_t tag = line.find(" pgs model ");
        lines += tag == std::string::npos ? "" : line.substr(tag - 1) + "\n";
    }
    tell(lines);
}

void CoreSystem::takeOther(const Step& iStep)
{
    switch (iStep.op)
    {
    case Op::eWriteFile:
        if (iStep.file != ModelSetup::kMissingFile)
        {
            writeFile(fSetup.filePath(iStep.file), _join(iStep.lines()));
        }
        return;
    case Op::eDropConfig:
        return fConfigs[iStep.slot].clear();
    case Op::eListIds:
    {
        std::vector<PString> ids{PString(L"before")};
        const int result = fManager->listIDs(ids);
        return tellList(result, ids);
    }
    case Op::eLookUp:
        return lookUp(Alphabet::kServices[iStep.number % Alphabet::kServices.size()]);
    default:
        stop();
        return start();
    }
}

void CoreSystem::lookUp(const std::string& iId)
{
    const PString id = wide(iId);
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(id, instance);
    const bool same = instance == static_cast<IBase*>(fManager) ||
                      instance == static_cast<IBase*>(fDispatcher) ||
                      instance == static_cast<IBase*>(fLogger) || result != 0;
    tell(std::to_string(result) + (ixlaIsInterfaceAvailable(id) ? " available" : " unavailable") +
         (same ? "" : " but another instance"));
}

void CoreSystem::tellList(int iResult, const std::vector<PString>& iTexts)
{
    std::string list;
    for (const PString& text : iTexts)
    {
        list += narrow(text) + ",";
    }
    tell(iResult, list);
}

void CoreSystem::writeFile(const std::string& iPath, const std::string& iText) const
{
    std::ofstream(iPath, std::ios::binary) << iText;
}
