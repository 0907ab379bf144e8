// SPDX-License-Identifier: MIT
#include "control/PJsonObject.h"

#include "shared/Utf8Text.h"

namespace
{
void _appendEscaped(char iCharacter, std::string& ioText)
{
    constexpr char kDigits[] = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(iCharacter);
    if (code >= 0x20)
    {
        ioText += iCharacter == '"' || iCharacter == '\\' ? "\\" : "";
        ioText += iCharacter;
        return;
    }
    ioText += "\\u00";
    ioText += kDigits[code >> 4U];
    ioText += kDigits[code & 0xFU];
}

void _appendText(std::string_view iValue, std::string& ioText)
{
    ioText += '"';
    for (std::size_t i = 0; i < iValue.size();)
    {
        const std::size_t length = utf8Length(iValue.substr(i));
        if (length == 1)
        {
            _appendEscaped(iValue[i], ioText);
        }
        else
        {
            ioText += length == 0 ? "\xEF\xBF\xBD" : iValue.substr(i, length);
        }
        i += length == 0 ? 1 : length;
    }
    ioText += '"';
}
} // namespace

void PJsonObject::begin(std::string_view iName)
{
    fBody += fBody.empty() ? "" : ",";
    _appendText(iName, fBody);
    fBody += ':';
}

PJsonObject& PJsonObject::text(std::string_view iName, std::string_view iValue)
{
    begin(iName);
    _appendText(iValue, fBody);
    return *this;
}

PJsonObject& PJsonObject::number(std::string_view iName, long long iValue)
{
    begin(iName);
    fBody += std::to_string(iValue);
    return *this;
}

PJsonObject& PJsonObject::flag(std::string_view iName, bool iValue)
{
    begin(iName);
    fBody += iValue ? "true" : "false";
    return *this;
}

PJsonObject& PJsonObject::null(std::string_view iName)
{
    begin(iName);
    fBody += "null";
    return *this;
}

PJsonObject& PJsonObject::object(std::string_view iName, const PJsonObject& iValue)
{
    begin(iName);
    fBody += iValue.str();
    return *this;
}

PJsonObject& PJsonObject::list(std::string_view iName, const std::vector<PJsonObject>& iValues)
{
    begin(iName);
    fBody += '[';
    const char* separator = "";
    for (const PJsonObject& value : iValues)
    {
        fBody += separator;
        fBody += value.str();
        separator = ",";
    }
    fBody += ']';
    return *this;
}

PJsonObject& PJsonObject::texts(std::string_view iName, const std::vector<std::string>& iValues)
{
    begin(iName);
    fBody += '[';
    const char* separator = "";
    for (const std::string& value : iValues)
    {
        fBody += separator;
        _appendText(value, fBody);
        separator = ",";
    }
    fBody += ']';
    return *this;
}

std::string PJsonObject::str() const
{
    return "{" + fBody + "}";
}
