// SPDX-License-Identifier: MIT
#include "model/Model.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace
{
constexpr const char* kExitTopic = "event.core.exit";
bool _isAttributeOp(Op iOp)
{
    return iOp == Op::eSetAttrText || iOp == Op::eSetAttrTyped || iOp == Op::eStoreAttrText ||
           iOp == Op::eStoreAttrTyped || iOp == Op::eGetAttrText || iOp == Op::eGetAttrTyped;
}

std::string _list(const std::vector<std::string>& iTexts)
{
    std::string list;
    for (const std::string& text : iTexts)
    {
        list += text + ",";
    }
    return list;
}

/// The digits of the highest number of a type, or of its lowest one; empty if it has none.
std::string _limit(Type iType, bool iIsNegative)
{
    switch (iType)
    {
    case Type::eInt32:
        return iIsNegative ? "2147483648" : "2147483647";
    case Type::eUint32:
        return iIsNegative ? "" : "4294967295";
    case Type::eInt64:
        return iIsNegative ? "9223372036854775808" : "9223372036854775807";
    case Type::eUint64:
        return iIsNegative ? "" : "18446744073709551615";
    default:
        return "";
    }
}
} // namespace

Model::Model(const ModelSetup& iSetup, Fault iFault)
    : fSetup(iSetup),
      fFault(iFault),
      fConfig(iSetup.configDir(), iFault),
      fLogs(iSetup.logLevel, iSetup.logsEnabled, iFault)
{
    fConfig.writeManagerConfig(ModelSetup::filesOfIds());
    fConfig.publish(std::string("custom.config.") + ModelSetup::kRedirected, iSetup.filePath(3));
    restart();
}

void Model::take(const Step& iStep)
{
    if (!takeLoad(iStep) && !takeRead(iStep) && !takeSet(iStep) && !takeStore(iStep) &&
        !takeEvent(iStep) && !takeLog(iStep))
    {
        takeOther(iStep);
    }
}

bool Model::takeLoad(const Step& iStep)
{
    Slot& slot = fSlots[iStep.slot];
    ConfigModel::Config fresh;
    switch (iStep.op)
    {
    case Op::eLoadById:
        fresh.id = iStep.idName();
        load(slot, fConfig.appendById(iStep.idName(), fresh), fresh);
        return true;
    case Op::eLoadByFile:
        load(slot, fConfig.appendByFile(fSetup.filePath(iStep.file), fresh), fresh);
        return true;
    case Op::eLoadByArgs:
        load(slot, fConfig.appendByArgs(iStep.lines(), fresh), fresh);
        return true;
    case Op::eAppendById:
        if (slot)
        {
            tell(fConfig.appendById(iStep.idName(), *slot));
        }
        return true;
    case Op::eAppendByFile:
        tell(slot ? fConfig.appendByFile(fSetup.filePath(iStep.file), *slot) : -502);
        return true;
    case Op::eAppendByArgs:
        tell(slot ? fConfig.appendByArgs(iStep.lines(), *slot) : -502);
        return true;
    default:
        return false;
    }
}

void Model::load(Slot& ioSlot, int iResult, const ConfigModel::Config& iConfig)
{
    tell(iResult);
    if (iResult == 0)
    {
        ioSlot = iConfig;
    }
}

bool Model::takeRead(const Step& iStep)
{
    switch (iStep.op)
    {
    case Op::eGetKeys:
        if (const Slot& slot = fSlots[iStep.slot])
        {
            std::vector<std::string> keys;
            for (const auto& entry : slot->records)
            {
                keys.push_back(entry.first);
            }
            tell(0, _list(keys));
        }
        return true;
    case Op::eGetAttributes:
        if (const Slot& slot = fSlots[iStep.slot])
        {
            std::vector<std::string> names{kUntouched};
            const int result = fConfig.getAttributes(*slot, iStep.keyName(), names);
            tell(result, _list(names));
        }
        return true;
    case Op::eGetText:
    case Op::eGetAttrText:
        read(iStep, _isAttributeOp(iStep.op), false);
        return true;
    case Op::eGetTyped:
    case Op::eGetAttrTyped:
        read(iStep, _isAttributeOp(iStep.op), true);
        return true;
    default:
        return false;
    }
}

void Model::read(const Step& iStep, bool iAttribute, bool iTyped)
{
    Slot& slot = fSlots[iStep.slot];
    if (!slot)
    {
        return;
    }
    std::string text = kUntouched;
    int result = iAttribute
                     ? fConfig.getAttribute(*slot, iStep.keyName(), iStep.attributeName(), text)
                     : fConfig.get(*slot, iStep.keyName(), text);
    if (iTyped && result == 0)
    {
        const std::string value = readTyped(iStep.type, text, result);
        text = result == 0 ? value : kUntouched;
    }
    tell(result, text);
}

bool Model::takeSet(const Step& iStep)
{
    switch (iStep.op)
    {
    case Op::eSetText:
    case Op::eSetAttrText:
        set(iStep, _isAttributeOp(iStep.op), iStep.textValue());
        return true;
    case Op::eSetTyped:
    case Op::eSetAttrTyped:
        set(iStep, _isAttributeOp(iStep.op), textOf(iStep.type, iStep.numberValue()));
        return true;
    case Op::eRemoveSet:
        tell(fConfig.removeSet(iStep.idName(), iStep.keyName()));
        return true;
    case Op::eRemoveSetAttr:
        tell(fConfig.removeSetAttribute(iStep.idName(), iStep.keyName(), iStep.attributeName()));
        return true;
    case Op::eAddChangeListener:
        tell(fConfig.addListener(iStep.idName(), iStep.topicName()));
        return true;
    case Op::eRemoveChangeListener:
        tell(fConfig.removeListener(iStep.idName(), iStep.topicName()));
        return true;
    default:
        return false;
    }
}

/// Registered topics get an event for every success, also for one without a change.
void Model::set(const Step& iStep, bool iAttribute, const std::string& iText)
{
    const std::string id = iStep.idName();
    const std::string key = iStep.keyName();
    const std::string attribute = iAttribute ? iStep.attributeName() : "";
    const std::vector<std::string> topics = fConfig.topics(id);
    const bool hadValue = fConfig.isSet(id, key);
    const int result =
        iAttribute ? fConfig.setAttribute(id, key, attribute, iText) : fConfig.set(id, key, iText);
    const bool silent = (fFault == Fault::eEventOnlyOfChanges && !iAttribute && hadValue) ||
                        (fFault == Fault::eSilentAttributes && iAttribute);
    if (result == 0 && !silent)
    {
        const std::string event =
            std::string(iAttribute ? "type 1 " : "type 0 ") + id + "/" + key + "/" + attribute;
        for (const std::string& topic : topics)
        {
            static_cast<void>(send(topic, event, 0));
        }
    }
    tell(result);
}

bool Model::takeStore(const Step& iStep)
{
    const std::string id = iStep.idName();
    const std::string key = iStep.keyName();
    switch (iStep.op)
    {
    case Op::eStoreText:
    case Op::eStoreAttrText:
        store(iStep, _isAttributeOp(iStep.op), iStep.textValue());
        return true;
    case Op::eStoreTyped:
    case Op::eStoreAttrTyped:
        store(iStep, _isAttributeOp(iStep.op), textOf(iStep.type, iStep.numberValue()));
        return true;
    case Op::eRemoveStored:
        tellStore(fConfig.removeStored(id, key));
        return true;
    case Op::eRemoveStoredAttr:
        tellStore(fConfig.removeStoredAttribute(id, key, iStep.attributeName()));
        return true;
    case Op::eEditStore:
        fConfig.editStore(iStep.storeText());
        return true;
    default:
        return false;
    }
}

void Model::store(const Step& iStep, bool iAttribute, const std::string& iText)
{
    const std::string id = iStep.idName();
    const std::string key = iStep.keyName();
    tellStore(iAttribute ? fConfig.storeAttribute(id, key, iStep.attributeName(), iText)
                         : fConfig.store(id, key, iText));
}

void Model::tellStore(int iResult)
{
    tell(iResult, fConfig.storeFile().value_or("no file"));
}

bool Model::takeEvent(const Step& iStep)
{
    switch (iStep.op)
    {
    case Op::eSubscribe:
        subscribe(iStep);
        return true;
    case Op::eUnsubscribe:
        unsubscribe(iStep);
        return true;
    case Op::eSend:
        tell(send(iStep.topicName(), "", static_cast<int>(iStep.number)));
        tellReferences();
        return true;
    case Op::eReact:
        if (iStep.listener < Alphabet::kListeners)
        {
            fReactions[iStep.listener] = iStep.reactionStep();
        }
        return true;
    default:
        return false;
    }
}

void Model::subscribe(const Step& iStep)
{
    const std::string topic = iStep.topicName();
    if (topic.empty() || iStep.listener == Alphabet::kListeners)
    {
        return tell(-502);
    }
    std::vector<int>& listeners = fSubscriptions[topic];
    const bool known = std::count(listeners.begin(), listeners.end(), iStep.listener) > 0;
    if (!known)
    {
        listeners.push_back(iStep.listener);
    }
    tell(known ? -5002 : 0);
    tellReferences();
}

void Model::unsubscribe(const Step& iStep)
{
    const std::string topic = iStep.topicName();
    if (topic.empty() || iStep.listener == Alphabet::kListeners)
    {
        return tell(-502);
    }
    tell(std::erase(fSubscriptions[topic], static_cast<int>(iStep.listener)) > 0 ? 0 : -5001);
    tellReferences();
}

int Model::send(const std::string& iTopic, const std::string& iEvent, int iNumber)
{
    if (iTopic.empty())
    {
        return -502;
    }
    std::vector<int> told = fSubscriptions[iTopic];
    if (told.empty())
    {
        return -5001;
    }
    if (fFault != Fault::eOldestListenerFirst)
    {
        std::reverse(told.begin(), told.end());
    }
    for (const int listener : told)
    {
        const std::vector<int>& now = fSubscriptions[iTopic];
        if (fFault != Fault::eDeliveryWithoutSnapshot ||
            std::count(now.begin(), now.end(), listener) > 0)
        {
            deliver(listener, iTopic, iEvent, iNumber);
        }
    }
    return 0;
}

void Model::deliver(int iListener, const std::string& iTopic, const std::string& iEvent,
                    int iNumber)
{
    tell("[listener" + std::to_string(iListener) + " " + iTopic + " " + iEvent + " " +
         std::to_string(iNumber));
    std::optional<Step>& armed = fReactions[static_cast<std::size_t>(iListener)];
    if (armed)
    {
        const Step reaction = *armed;
        armed.reset();
        act(reaction);
    }
    tell("]");
}

/// A listener has one reference of its owner and one for each of its topics.
void Model::tellReferences()
{
    if (!isOutermost())
    {
        return;
    }
    std::array<int, Alphabet::kListeners> references{};
    references.fill(1);
    for (const auto& entry : fSubscriptions)
    {
        for (const int listener : entry.second)
        {
            ++references[static_cast<std::size_t>(listener)];
        }
    }
    for (const int count : references)
    {
        tell("r" + std::to_string(count));
    }
}

bool Model::takeLog(const Step& iStep)
{
    switch (iStep.op)
    {
    case Op::eGetLogger:
        fLogs.getLogger(iStep.slot, iStep.logName());
        tell(0, fLogs.holders());
        return true;
    case Op::eDefaultLogger:
        fLogs.getDefault(iStep.slot);
        return true;
    case Op::eCopyLogger:
        fLogs.copy(iStep.slot, iStep.other);
        return true;
    case Op::eWrapLogger:
        fLogs.wrap(iStep.slot, iStep.other);
        return true;
    case Op::eDropLogger:
        fLogs.drop(iStep.slot);
        return true;
    case Op::eSetLevel:
        if (fLogs.holds(iStep.slot))
        {
            fLogs.setLevel(iStep.slot, iStep.levelValue());
        }
        return true;
    case Op::eWriteLog:
        if (fLogs.holds(iStep.slot))
        {
            fLogs.write(iStep.slot, "IED"[iStep.seed % 3], iStep.levelValue(),
                        "model " + iStep.textValue() + " " + std::to_string(iStep.numberValue()));
        }
        return true;
    case Op::eReadLog:
        tell(fLogs.lines(iStep.logName()));
        return true;
    default:
        return false;
    }
}

void Model::takeOther(const Step& iStep)
{
    switch (iStep.op)
    {
    case Op::eWriteFile:
        if (iStep.file != ModelSetup::kMissingFile)
        {
            fConfig.writeFile(fSetup.filePath(iStep.file), iStep.lines());
        }
        return;
    case Op::eDropConfig:
        fSlots[iStep.slot].reset();
        return;
    case Op::eListIds:
    {
        std::vector<std::string> ids;
        const int result = fConfig.listIds(ids);
        return tell(result, _list(ids));
    }
    case Op::eLookUp:
        return tell(iStep.number % 4 == 3 ? "-2001 unavailable" : "0 available");
    default:
        static_cast<void>(send(kExitTopic, "", 0));
        return restart();
    }
}

void Model::restart()
{
    fSlots = {};
    fSubscriptions.clear();
    fReactions = {};
    fConfig.restart();
    fLogs.restart();
}

std::string Model::textOf(Type iType, long long iNumber)
{
    switch (iType)
    {
    case Type::eInt32:
        return std::to_string(static_cast<std::int32_t>(iNumber));
    case Type::eUint32:
        return std::to_string(static_cast<std::uint32_t>(iNumber));
    case Type::eInt64:
        return std::to_string(iNumber);
    case Type::eUint64:
        return std::to_string(static_cast<unsigned long long>(iNumber));
    case Type::eBool:
        return iNumber % 2 != 0 ? "true" : "false";
    default:
        // The lowest bits of a positive number give the number of bytes.
        std::string text;
        for (int i = 0; i < iNumber % 4; ++i)
        {
            text += i % 2 == 0 ? "a0" : "0f";
        }
        return text;
    }
}

std::string Model::readTyped(Type iType, const std::string& iText, int& oResult)
{
    const std::size_t first = iText.find_first_not_of(" \t");
    std::string text = first == std::string::npos
                           ? ""
                           : iText.substr(first, iText.find_last_not_of(" \t") - first + 1);
    if (iType != Type::eBool && iType != Type::eBinary)
    {
        return readNumber(iType, text, oResult);
    }
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char iChar) { return std::tolower(iChar); });
    oResult = 0;
    if (iType == Type::eBinary)
    {
        const bool hex = text.find_first_not_of("0123456789abcdef") == std::string::npos;
        oResult = hex && text.size() % 2 == 0 ? 0 : -22;
        return text;
    }
    if (text == "true" || text == "yes" || text == "on" || text == "1")
    {
        return "true";
    }
    oResult = text == "false" || text == "no" || text == "off" || text == "0" ? 0 : -22;
    return "false";
}

std::string Model::readNumber(Type iType, const std::string& iText, int& oResult)
{
    const bool isSigned = !iText.empty() && (iText[0] == '-' || iText[0] == '+');
    const std::string digits = iText.substr(isSigned ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
    {
        oResult = -22;
        return "";
    }
    std::string plain = digits;
    plain.erase(0, std::min(plain.find_first_not_of('0'), plain.size() - 1));
    const std::string limit = _limit(iType, iText[0] == '-' && plain != "0");
    const bool inRange =
        plain.size() < limit.size() || (plain.size() == limit.size() && plain <= limit);
    oResult = inRange ? 0 : -34;
    return (iText[0] == '-' ? "-" : "") + plain;
}
