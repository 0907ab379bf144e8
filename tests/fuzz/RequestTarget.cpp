// SPDX-License-Identifier: MIT
// Requests to a running host: the reader accepts exactly the flat objects that a general JSON
// reader accepts, with the same members, and every text is written as JSON.
#include "control/PJsonObject.h"
#include "control/PRequest.h"
#include "control/PRequestError.h"
#include "fuzz/Check.h"
#include "fuzz/Texts.h"
#include "shared/Utf8Text.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <set>

namespace
{
using Json = nlohmann::json;

bool _isInteger(const Json& iValue)
{
    return iValue.is_number_integer() &&
           (!iValue.is_number_unsigned() || iValue.get<std::uint64_t>() <= INT64_MAX);
}

bool _isText(const Json& iValue)
{
    return iValue.is_string() && iValue.get<std::string>().find('\0') == std::string::npos;
}

/// Whether every name occurs once. Names of nested objects count, too; those are refused anyway.
bool _hasUniqueNames(std::string_view iLine)
{
    std::set<std::string> names;
    bool unique = true;
    const Json::parser_callback_t look = [&](int, Json::parse_event_t iEvent, Json& ioParsed)
    {
        const bool isName = iEvent == Json::parse_event_t::key;
        unique = unique && (!isName || names.insert(ioParsed.get<std::string>()).second);
        return true;
    };
    return !Json::parse(iLine, look, false).is_discarded() && unique;
}

/// The object, if it is a request.
std::optional<Json> _expected(std::string_view iLine)
{
    // A line has no line break. A byte-order mark is no part of JSON, and neither is a zero byte,
    // but the general reader skips the one and ends at the other.
    const Json object = Json::parse(iLine, nullptr, false);
    if (iLine.find_first_of({"\n\0", 2}) != std::string_view::npos ||
        iLine.substr(0, 1) == "\xEF" || !object.is_object() ||
        object.size() > PRequest::kMostMembers || !_hasUniqueNames(iLine))
    {
        return std::nullopt;
    }
    for (const auto& [name, value] : object.items())
    {
        if (name.find('\0') != std::string::npos ||
            !(_isText(value) || _isInteger(value) || value.is_boolean()))
        {
            return std::nullopt;
        }
    }
    const bool isVersion =
        object.contains("v") && object["v"] == Json(kProtocolVersion) && _isInteger(object["v"]);
    return isVersion ? std::optional<Json>(object) : std::nullopt;
}

void _checkMembers(const PRequest& iRequest, const Json& iExpected)
{
    for (const auto& [name, value] : iExpected.items())
    {
        if (value.is_string())
        {
            checkBytes(iRequest.anyText(name), value.get<std::string>(), "a text");
        }
        else if (value.is_boolean())
        {
            check(iRequest.optionalFlag(name) == value.get<bool>(), "a truth value");
        }
        else
        {
            check(iRequest.number(name, INT64_MIN, INT64_MAX) == value.get<long long>(),
                  "an integer");
        }
    }
}

void _checkRequest(std::string_view iLine)
{
    const std::optional<Json> expected = _expected(iLine);
    try
    {
        const PRequest request(iLine);
        check(expected.has_value(), "only requests are accepted");
        _checkMembers(request, *expected);
    }
    catch (const PRequestError& error)
    {
        check(!expected.has_value(), error.what());
    }
}

void _checkWriting(std::string_view iText)
{
    PJsonObject object;
    const std::string line = object.text(iText, iText).number("n", INT64_MIN).flag("f", true).str();
    check(line.find('\n') == std::string::npos, "an object is one line");
    const Json again = Json::parse(line, nullptr, false);
    check(again.is_object(), "what is written is JSON");
    if (isUtf8(iText) && iText != "n" && iText != "f")
    {
        const std::string text(iText);
        check(again.contains(text), "a name is written as it is");
        checkBytes(again[text].get<std::string>(), text, "a text is written as it is");
    }
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::string_view bytes = bytesOf(iData, iSize);
    _checkRequest(bytes);
    _checkWriting(bytes);
    // Most inputs are no objects; as a text of a request they reach the escapes.
    _checkRequest("{\"v\":1,\"op\":\"" + std::string(bytes) + "\"}");
    _checkRequest("{\"v\":1," + std::string(bytes) + "}");
    return 0;
}
