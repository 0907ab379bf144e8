// SPDX-License-Identifier: MIT
// Step: one operation of a random sequence.
#ifndef IXLAL_TESTS_STEP_H
#define IXLAL_TESTS_STEP_H

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

enum class Op : std::uint8_t
{
    eLoadById,
    eAppendById,
    eLoadByFile,
    eAppendByFile,
    eLoadByArgs,
    eAppendByArgs,
    eWriteFile,
    eDropConfig,
    eGetKeys,
    eGetAttributes,
    eGetText,
    eGetTyped,
    eGetAttrText,
    eGetAttrTyped,
    eSetText,
    eSetTyped,
    eSetAttrText,
    eSetAttrTyped,
    eRemoveSet,
    eRemoveSetAttr,
    eStoreText,
    eStoreTyped,
    eStoreAttrText,
    eStoreAttrTyped,
    eRemoveStored,
    eRemoveStoredAttr,
    eEditStore,
    eListIds,
    eAddChangeListener,
    eRemoveChangeListener,
    eSubscribe,
    eUnsubscribe,
    eSend,
    eReact,
    eGetLogger,
    eDefaultLogger,
    eCopyLogger,
    eWrapLogger,
    eDropLogger,
    eSetLevel,
    eWriteLog,
    eReadLog,
    eLookUp,
    eRestart,
    eCount
};

enum class Type : std::uint8_t
{
    eInt32,
    eUint32,
    eInt64,
    eUint64,
    eBool,
    eBinary,
    eCount
};

/// The names and values that steps choose from. They are few, so that steps often affect the same
/// value.
namespace Alphabet
{
constexpr unsigned int kConfigs = 4;
constexpr unsigned int kLoggers = 4;
constexpr unsigned int kListeners = 5; ///< listener number kListeners is null
constexpr unsigned int kLevels = 5;
constexpr unsigned int kFiles = 5;

/// The empty ID has run-time and stored values but no file; "plain" is not listed; the last ID is
/// forbidden.
constexpr std::array<const char*, 6> kIds{"a", "b", "plain", "ixlap.global", "", "x|y"};

/// A run-time value of the second to last for the global ID redirects a file; the last is
/// forbidden.
constexpr std::array<const char*, 6> kKeys{"k", "port", "q r", "", "custom.config.f0.prs", "b=d"};
constexpr std::array<const char*, 5> kAttributes{"const", "unit", "note", "", "p:q"};
constexpr std::array<const char*, 16> kTexts{"1",          "0",          "true",
                                             "FALSE",      "yes",        "maybe",
                                             "-7",         "4294967296", "18446744073709551615",
                                             "00fF",       "f1.prs",     "",
                                             "x y",        "+5",         "a = b:c|d#e",
                                             "  padded \t"};
constexpr std::array<const char*, 5> kTopics{"t0", "t1", "t2", "event.core.exit", ""};
constexpr std::array<long long, 10> kNumbers{
    0, 1, -1, 42, 255, 2147483647, -2147483647 - 1, 4294967295, INT64_MAX, INT64_MIN};
constexpr std::array<const char*, 5> kLogs{"one.log", "two.log", "three.log", "four.log",
                                           "ixlaplugins.log"};
constexpr std::array<const char*, 4> kServices{"com.kelvora.ixla.config.manager",
                                               "com.kelvora.ixla.eventdispatcher",
                                               "com.kelvora.ixla.logger", "nobody"};
} // namespace Alphabet

struct Step
{
    /// A random step.
    static Step random(std::mt19937_64& ioRandom);

    /// Uses the names of iBefore.
    void stayAt(const Step& iBefore);

    /// The step that a listener executes.
    Step reactionStep() const;

    /// A readable text with the fields that the operation uses.
    std::string text() const;

    /// Lines for a configuration file or an argument list, from the seed.
    std::vector<std::string> lines() const;

    /// The lines that a user writes into the store file.
    std::string storeText() const;

    std::string idName() const;
    std::string keyName() const;
    std::string attributeName() const;
    std::string textValue() const;
    std::string topicName() const;
    std::string logName() const;
    long long numberValue() const;
    int levelValue() const;

    /// Makes the fields consistent.
    void settle();

    Op op;
    std::uint8_t slot;
    std::uint8_t other;
    std::uint8_t id;
    std::uint8_t key;
    std::uint8_t attribute;
    std::uint8_t value;
    std::uint8_t topic;
    std::uint8_t listener;
    std::uint8_t number;
    std::uint8_t file;
    std::uint8_t level;
    std::uint8_t log;
    Type type;
    Op reaction;
    std::uint32_t seed;
};

#endif
