// SPDX-License-Identifier: MIT
#include "model/Step.h"

#include <algorithm>
#include <iterator>

namespace
{
struct Kind
{
    const char* name;
    unsigned int weight;

    /// Letters of the fields that the operation uses; see _field.
    const char* fields;
};

const Kind sKinds[] = {
    {"loadByID", 12, "si"},
    {"appendByID", 6, "si"},
    {"loadByFile", 6, "sf"},
    {"appendByFile", 5, "sf"},
    {"loadByArgs", 6, "s#"},
    {"appendByArgs", 5, "s#"},
    {"write file", 8, "f#"},
    {"drop configuration", 4, "s"},
    {"getKeys", 10, "s"},
    {"getAttributes", 10, "sk"},
    {"getString", 120, "sk"},
    {"get typed", 60, "skT"},
    {"getAttrString", 80, "ska"},
    {"getAttr typed", 30, "skaT"},
    {"setString", 50, "ikv"},
    {"set typed", 25, "ikTn"},
    {"setAttrString", 35, "ikav"},
    {"setAttr typed", 15, "ikaTn"},
    {"removeSetKey", 35, "ik"},
    {"removeSetAttr", 15, "ika"},
    {"storeString", 9, "ikv"},
    {"store typed", 4, "ikTn"},
    {"storeAttrString", 12, "ikav"},
    {"storeAttr typed", 4, "ikaTn"},
    {"removeStoredKey", 4, "ik"},
    {"removeStoredAttr", 8, "ika"},
    {"edit the store file", 2, "#"},
    {"listIDs", 4, ""},
    {"config addListener", 20, "it"},
    {"config removeListener", 10, "it"},
    {"subscribe", 40, "tl"},
    {"unsubscribe", 25, "tl"},
    {"send", 50, "tn"},
    {"react", 30, "lR"},
    {"getLogger", 30, "oLS"},
    {"default logger", 4, "o"},
    {"copy logger", 8, "oS"},
    {"wrap logger", 6, "oS"},
    {"drop logger", 10, "o"},
    {"setLevel", 12, "oe"},
    {"write log", 50, "oevn"},
    {"read log", 3, "L"},
    {"look up", 8, "n"},
    {"restart", 2, ""},
};
static_assert(std::size(sKinds) == static_cast<std::size_t>(Op::eCount));

/// The operations that a listener may execute.
const Op sReactions[] = {Op::eSubscribe,
                         Op::eUnsubscribe,
                         Op::eSend,
                         Op::eAddChangeListener,
                         Op::eRemoveChangeListener,
                         Op::eSetText,
                         Op::eSetAttrText,
                         Op::eRemoveSet,
                         Op::eGetText,
                         Op::eStoreText,
                         Op::eGetLogger};

/// The number of first texts that are mostly truth values, for the attribute "const".
constexpr std::uint8_t kTruthTexts = 6;

const char* const sTypes[] = {"Int32", "Uint32", "Int64", "Uint64", "Bool", "Binary"};

const Kind& _kind(Op iOp)
{
    return sKinds[static_cast<std::size_t>(iOp)];
}

Op _pickOp(std::mt19937_64& ioRandom)
{
    static const std::discrete_distribution<unsigned int>::param_type sWeights = []
    {
        std::vector<double> weights;
        for (const Kind& kind : sKinds)
        {
            weights.push_back(kind.weight);
        }
        return std::discrete_distribution<unsigned int>::param_type(weights.begin(), weights.end());
    }();
    std::discrete_distribution<unsigned int> pick(sWeights);
    return static_cast<Op>(pick(ioRandom));
}

std::uint8_t _pick(std::mt19937_64& ioRandom, std::size_t iBelow)
{
    return static_cast<std::uint8_t>(ioRandom() % iBelow);
}

/// As _pick, but prefers the first choices, so that steps often use the same names.
std::uint8_t _pickLow(std::mt19937_64& ioRandom, std::size_t iBelow)
{
    return std::min(_pick(ioRandom, iBelow), _pick(ioRandom, iBelow));
}

bool _setsAttribute(Op iOp)
{
    return iOp == Op::eSetAttrText || iOp == Op::eSetAttrTyped || iOp == Op::eStoreAttrText ||
           iOp == Op::eStoreAttrTyped;
}

std::string _quoted(const std::string& iText)
{
    std::string quoted;
    for (const char character : iText)
    {
        quoted += character == '\n' ? "\\n" : std::string(1, character);
    }
    return '"' + quoted + '"';
}

std::string _set(const std::vector<std::string>& iLines)
{
    std::string text;
    for (const std::string& line : iLines)
    {
        text += (text.empty() ? "" : ", ") + _quoted(line);
    }
    return "{" + text + "}";
}

std::string _field(const Step& iStep, char iField)
{
    switch (iField)
    {
    case 's':
        return "config" + std::to_string(iStep.slot);
    case 'i':
        return _quoted(iStep.idName());
    case 'k':
        return _quoted(iStep.keyName());
    case 'a':
        return _quoted(iStep.attributeName());
    case 'v':
        return _quoted(iStep.textValue());
    case 't':
        return _quoted(iStep.topicName());
    case 'T':
        return sTypes[static_cast<std::size_t>(iStep.type)];
    case 'n':
        return std::to_string(iStep.numberValue());
    case 'l':
        return "listener" + std::to_string(iStep.listener);
    case 'f':
        return "f" + std::to_string(iStep.file) + ".prs";
    case '#':
        return iStep.op == Op::eEditStore ? _quoted(iStep.storeText()) : _set(iStep.lines());
    case 'o':
        return "logger" + std::to_string(iStep.slot);
    case 'S':
        return "logger" + std::to_string(iStep.other);
    case 'L':
        return _quoted(iStep.logName());
    case 'e':
        return "level " + std::to_string(iStep.levelValue());
    default:
        return "by " + iStep.reactionStep().text();
    }
}
} // namespace

Step Step::random(std::mt19937_64& ioRandom)
{
    Step step{};
    step.op = _pickOp(ioRandom);
    step.slot = _pickLow(ioRandom, Alphabet::kConfigs);
    step.other = _pick(ioRandom, Alphabet::kLoggers);
    step.id = _pickLow(ioRandom, Alphabet::kIds.size());
    step.key = _pickLow(ioRandom, Alphabet::kKeys.size());
    step.attribute = _pickLow(ioRandom, Alphabet::kAttributes.size());
    step.value = _pick(ioRandom, Alphabet::kTexts.size());
    step.topic = _pickLow(ioRandom, Alphabet::kTopics.size());
    step.listener = _pickLow(ioRandom, Alphabet::kListeners + 1);
    step.number = _pick(ioRandom, Alphabet::kNumbers.size());
    step.file = _pick(ioRandom, Alphabet::kFiles);
    step.level = _pick(ioRandom, Alphabet::kLevels);
    step.log = _pick(ioRandom, Alphabet::kLogs.size());
    step.type = static_cast<Type>(_pick(ioRandom, static_cast<std::size_t>(Type::eCount)));
    step.reaction = sReactions[_pick(ioRandom, std::size(sReactions))];
    step.seed = static_cast<std::uint32_t>(ioRandom());
    step.settle();
    return step;
}

void Step::stayAt(const Step& iBefore)
{
    slot = iBefore.slot;
    id = iBefore.id;
    key = iBefore.key;
    attribute = iBefore.attribute;
    topic = iBefore.topic;
    log = iBefore.log;
    settle();
}

void Step::settle()
{
    // An attribute without a name cannot be written into a line.
    if (attributeName().empty() && (_setsAttribute(op) || _setsAttribute(reaction)))
    {
        attribute = 0;
    }
    if (attribute == 0 && (_setsAttribute(op) || _setsAttribute(reaction)))
    {
        value = value % kTruthTexts;
    }
}

Step Step::reactionStep() const
{
    Step step = *this;
    step.op = reaction;
    step.listener = other;
    return step;
}

std::string Step::text() const
{
    const Kind& kind = _kind(op);
    std::string result = kind.name;
    for (const char* field = kind.fields; *field; ++field)
    {
        result += ' ' + _field(*this, *field);
    }
    return result;
}

std::vector<std::string> Step::lines() const
{
    std::mt19937 random(seed);
    std::vector<std::string> lines(random() % 6);
    for (std::string& line : lines)
    {
        // Without the forbidden name: its "=" would end the name.
        const std::string name = Alphabet::kKeys[random() % (Alphabet::kKeys.size() - 1)];
        const std::string attr = Alphabet::kAttributes[random() % 4];
        const std::string content = Alphabet::kTexts[random() % Alphabet::kTexts.size()];
        switch (random() % 16)
        {
        case 0:
            line = "no line";
            break;
        case 1:
            line.append(" # ").append(name).append(" = ").append(content);
            break;
        case 2:
            line = "  \t";
            break;
        case 3:
            line = "e|f = " + content;
            break;
        default:
            line = name.empty() ? "port" : name;
            line.append(random() % 2 == 0 ? " : " + attr : "").append(" = ").append(content);
        }
    }
    return lines;
}

std::string Step::storeText() const
{
    static const char* const sTexts[] = {
        "", "# by hand\n\n  a|k=5\na|k : const=true \nnobody = 1\nb|port = 6",
        "a|k = 1\na broken line\na|port = 2\n", "a|k = 3\na|k:const = no\na|k:const = yes\n"};
    return sTexts[seed % std::size(sTexts)];
}

std::string Step::idName() const
{
    return Alphabet::kIds[id];
}

std::string Step::keyName() const
{
    return Alphabet::kKeys[key];
}

std::string Step::attributeName() const
{
    return Alphabet::kAttributes[attribute];
}

std::string Step::textValue() const
{
    return Alphabet::kTexts[value];
}

std::string Step::topicName() const
{
    return Alphabet::kTopics[topic];
}

std::string Step::logName() const
{
    return Alphabet::kLogs[log];
}

long long Step::numberValue() const
{
    return Alphabet::kNumbers[number];
}

int Step::levelValue() const
{
    return static_cast<int>(level) - 1;
}
