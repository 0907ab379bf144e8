// SPDX-License-Identifier: MIT
#include "control/PRequest.h"

#include "control/PRequestError.h"
#include "shared/Utf8Text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace
{
constexpr char kVersion[] = "v";
constexpr char kOperation[] = "op";

[[noreturn]] void _refuse(const std::string& iText)
{
    throw PRequestError(kBadRequest, iText);
}

int _hexDigit(char iCharacter)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char lower = iCharacter >= 'A' && iCharacter <= 'F'
                           ? static_cast<char>(iCharacter - 'A' + 'a')
                           : iCharacter;
    const std::size_t place = kDigits.find(lower);
    return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

bool _isHighSurrogate(unsigned int iUnit)
{
    return iUnit >= 0xD800 && iUnit < 0xDC00;
}

bool _isLowSurrogate(unsigned int iUnit)
{
    return iUnit >= 0xDC00 && iUnit < 0xE000;
}
} // namespace

/// Reads the text of a request from the beginning to the end.
class PRequest::Reader
{
public:
    explicit Reader(std::string_view iText) : fText(iText)
    {
    }

    std::map<std::string, Value> members();

private:
    [[noreturn]] void refuse(const char* iWhat) const;
    char next();
    bool takes(char iCharacter);
    void expect(char iCharacter);
    void skipBlanks();
    void readMember(std::map<std::string, Value>& ioMembers);
    Value readValue();
    std::string readText();
    void readEscape(std::string& ioText);
    unsigned int readUnit();
    unsigned int readCharacter();
    Value readNumber();
    Value readWord();

    const std::string_view fText;
    std::size_t fPlace = 0;
};

void PRequest::Reader::refuse(const char* iWhat) const
{
    _refuse(std::string(iWhat) + " at byte " + std::to_string(fPlace + 1));
}

char PRequest::Reader::next()
{
    if (fPlace == fText.size())
    {
        refuse("the request ends too early");
    }
    return fText[fPlace++];
}

bool PRequest::Reader::takes(char iCharacter)
{
    const bool found = fPlace < fText.size() && fText[fPlace] == iCharacter;
    fPlace += found ? 1 : 0;
    return found;
}

void PRequest::Reader::expect(char iCharacter)
{
    skipBlanks();
    if (!takes(iCharacter))
    {
        refuse((std::string("no ") + iCharacter).c_str());
    }
    skipBlanks();
}

void PRequest::Reader::skipBlanks()
{
    while (takes(' ') || takes('\t') || takes('\r'))
    {
    }
}

std::map<std::string, PRequest::Value> PRequest::Reader::members()
{
    std::map<std::string, Value> members;
    expect('{');
    if (!takes('}'))
    {
        readMember(members);
        while (takes(','))
        {
            skipBlanks();
            readMember(members);
        }
        if (!takes('}'))
        {
            refuse("neither , nor }");
        }
    }
    skipBlanks();
    if (fPlace != fText.size())
    {
        refuse("text after the object");
    }
    return members;
}

void PRequest::Reader::readMember(std::map<std::string, Value>& ioMembers)
{
    if (ioMembers.size() == kMostMembers)
    {
        refuse("too many members");
    }
    const std::string name = readText();
    expect(':');
    if (!ioMembers.emplace(name, readValue()).second)
    {
        refuse("a name that occurs twice, before the value that ends");
    }
    skipBlanks();
}

PRequest::Value PRequest::Reader::readValue()
{
    const char first = fPlace < fText.size() ? fText[fPlace] : '\0';
    if (first == '"')
    {
        Value value;
        value.text = readText();
        return value;
    }
    return first == '-' || (first >= '0' && first <= '9') ? readNumber() : readWord();
}

std::string PRequest::Reader::readText()
{
    if (!takes('"'))
    {
        refuse("no text");
    }
    std::string text;
    while (!takes('"'))
    {
        const std::size_t length = utf8Length(fText.substr(fPlace));
        const auto first = static_cast<unsigned char>(next());
        if (first < 0x20 || length == 0)
        {
            refuse("a control character or a byte that is not UTF-8, before the character");
        }
        if (first == '\\')
        {
            readEscape(text);
            continue;
        }
        text += fText.substr(fPlace - 1, length);
        fPlace += length - 1;
    }
    return text;
}

void PRequest::Reader::readEscape(std::string& ioText)
{
    constexpr std::string_view kNames = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char name = next();
    const std::size_t place = kNames.find(name);
    if (place != std::string_view::npos)
    {
        ioText += kMeanings[place];
    }
    else if (name == 'u')
    {
        appendUtf8(readCharacter(), ioText);
    }
    else
    {
        refuse("an unknown escape before the character");
    }
}

unsigned int PRequest::Reader::readUnit()
{
    unsigned int unit = 0;
    for (int i = 0; i < 4; ++i)
    {
        const int digit = _hexDigit(next());
        if (digit < 0)
        {
            refuse("a wrong digit of \\u before the character");
        }
        unit = unit * 16 + static_cast<unsigned int>(digit);
    }
    return unit;
}

unsigned int PRequest::Reader::readCharacter()
{
    const unsigned int unit = readUnit();
    if (unit == 0)
    {
        refuse("a zero character before the character");
    }
    if (_isLowSurrogate(unit))
    {
        refuse("half a surrogate pair before the character");
    }
    if (!_isHighSurrogate(unit))
    {
        return unit;
    }
    const bool escaped = takes('\\') && takes('u');
    const unsigned int low = escaped ? readUnit() : 0;
    if (!_isLowSurrogate(low))
    {
        refuse("half a surrogate pair before the character");
    }
    return 0x10000 + ((unit - 0xD800) << 10U) + (low - 0xDC00);
}

PRequest::Value PRequest::Reader::readNumber()
{
    Value value;
    value.type = eNumber;
    const char* const begin = fText.data() + fPlace;
    const char* const end = fText.data() + fText.size();
    const auto [last, error] = std::from_chars(begin, end, value.number);
    const char* const digits = *begin == '-' ? begin + 1 : begin;
    const bool padded = last - digits > 1 && *digits == '0';
    const bool more = last != end && (*last == '.' || *last == 'e' || *last == 'E');
    if (error != std::errc() || padded || more)
    {
        refuse("a number that is not an integer of 64 bits");
    }
    fPlace += static_cast<std::size_t>(last - begin);
    return value;
}

PRequest::Value PRequest::Reader::readWord()
{
    Value value;
    value.type = eFlag;
    for (const std::string_view word : {std::string_view("true"), std::string_view("false")})
    {
        if (fText.substr(fPlace, word.size()) == word)
        {
            value.number = word == "true" ? 1 : 0;
            fPlace += word.size();
            return value;
        }
    }
    refuse("no text, integer or truth value");
}

PRequest::PRequest(std::string_view iLine) : fMembers(Reader(iLine).members())
{
    checkVersion();
}

void PRequest::checkVersion() const
{
    const long long version =
        number(kVersion, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    if (version != kProtocolVersion)
    {
        _refuse("version " + std::to_string(version) + " of the protocol; this host has version " +
                std::to_string(kProtocolVersion));
    }
}

const std::string& PRequest::operation() const
{
    return value(kOperation, eText).text;
}

void PRequest::allow(std::initializer_list<const char*> iNames) const
{
    for (const auto& [name, ignored] : fMembers)
    {
        const bool known =
            name == kVersion || name == kOperation ||
            std::find(iNames.begin(), iNames.end(), std::string_view(name)) != iNames.end();
        if (!known)
        {
            _refuse("\"" + operation() + "\" has no member \"" + name + "\"");
        }
    }
}

const PRequest::Value& PRequest::value(const std::string& iName, EType iType) const
{
    const auto found = fMembers.find(iName);
    if (found == fMembers.end())
    {
        _refuse("no member \"" + iName + "\"");
    }
    if (found->second.type != iType)
    {
        constexpr const char* kTypes[] = {"a text", "an integer", "true or false"};
        _refuse("\"" + iName + "\" is not " + kTypes[iType]);
    }
    return found->second;
}

std::string PRequest::text(const std::string& iName) const
{
    const std::string& found = value(iName, eText).text;
    if (found.empty())
    {
        _refuse("\"" + iName + "\" is empty");
    }
    return found;
}

std::string PRequest::anyText(const std::string& iName) const
{
    return value(iName, eText).text;
}

std::string PRequest::optionalText(const std::string& iName) const
{
    return fMembers.count(iName) > 0 ? value(iName, eText).text : std::string();
}

long long PRequest::number(const std::string& iName, long long iLowest, long long iHighest) const
{
    const long long found = value(iName, eNumber).number;
    if (found < iLowest || found > iHighest)
    {
        _refuse("\"" + iName + "\" is not in " + std::to_string(iLowest) + " to " +
                std::to_string(iHighest));
    }
    return found;
}

long long PRequest::optionalNumber(const std::string& iName, long long iLowest, long long iHighest,
                                   long long iDefault) const
{
    return fMembers.count(iName) > 0 ? number(iName, iLowest, iHighest) : iDefault;
}

bool PRequest::optionalFlag(const std::string& iName) const
{
    return fMembers.count(iName) > 0 && value(iName, eFlag).number != 0;
}
