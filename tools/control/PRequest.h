// SPDX-License-Identifier: MIT
// PRequest: a request of a client.
#ifndef IXLAL_TOOLS_PREQUEST_H
#define IXLAL_TOOLS_PREQUEST_H

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>

/// The version of the protocol, the member "v" of every request and reply.
constexpr int kProtocolVersion = 1;

/// One JSON object whose members are texts, integers and truth values. Nested values, null, numbers
/// with a fraction or an exponent, a name that occurs twice, a text that is not UTF-8 or has a zero
/// character, and anything after the object are refused.
///
/// All operations throw PRequestError.
class PRequest
{
public:
    static constexpr std::size_t kMostMembers = 16;

    /// Reads the line of a request, which has no line break.
    explicit PRequest(std::string_view iLine);

    /// The member "op".
    const std::string& operation() const;

    /// Refuses members other than "v", "op" and iNames.
    void allow(std::initializer_list<const char*> iNames) const;

    /// A text that is not empty; a text; a text that is empty if it is absent.
    std::string text(const std::string& iName) const;
    std::string anyText(const std::string& iName) const;
    std::string optionalText(const std::string& iName) const;

    /// An integer from iLowest to iHighest.
    long long number(const std::string& iName, long long iLowest, long long iHighest) const;

    /// The same; iDefault if it is absent.
    long long optionalNumber(const std::string& iName, long long iLowest, long long iHighest,
                             long long iDefault) const;

    /// A truth value; false if it is absent.
    bool optionalFlag(const std::string& iName) const;

private:
    enum EType
    {
        eText,
        eNumber,
        eFlag
    };

    struct Value
    {
        EType type = eText;
        std::string text;
        long long number = 0;
    };

    class Reader;

    const Value& value(const std::string& iName, EType iType) const;
    void checkVersion() const;

    std::map<std::string, Value> fMembers;
};

#endif
