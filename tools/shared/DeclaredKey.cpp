// SPDX-License-Identifier: MIT
#include "shared/DeclaredKey.h"

#include "helpers/Text.h"
#include "portinglayer/PUtils.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace
{
/// In the order of the types.
constexpr const char* kNames[] = {"int32", "uint32", "int64",  "uint64",
                                  "bool",  "text",   "choice", "bytes"};

template <class T>
using Reader = int (*)(const PLiteral&, T&);

/// Whether the value is a number of the type within the limits. A limit that is no number, as in a
/// damaged note, is none.
template <class T>
bool _isInRange(const DeclaredKey& iKey, const PLiteral& iValue, Reader<T> iRead)
{
    T value = 0;
    T low = 0;
    T high = 0;
    return iRead(iValue, value) == 0 && (iRead(ixlaWide(iKey.low), low) != 0 || value >= low) &&
           (iRead(ixlaWide(iKey.high), high) != 0 || value <= high);
}

bool _isTruth(const PLiteral& iValue)
{
    bool value = false;
    return PUtils::strToBool(iValue, value) == 0;
}

bool _isBytes(const PLiteral& iValue)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    const bool isRead = PUtils::strToBinary(iValue, data, size) == 0;
    const std::unique_ptr<unsigned char[]> owner(data);
    return isRead;
}

bool _isAccepted(const DeclaredKey& iKey, const PLiteral& iValue)
{
    switch (iKey.type)
    {
    case DeclaredKey::eInt32:
        return _isInRange<int>(iKey, iValue, &PUtils::strToInt32);
    case DeclaredKey::eUint32:
        return _isInRange<unsigned int>(iKey, iValue, &PUtils::strToUint32);
    case DeclaredKey::eInt64:
        return _isInRange<long long>(iKey, iValue, &PUtils::strToInt64);
    case DeclaredKey::eUint64:
        return _isInRange<unsigned long long>(iKey, iValue, &PUtils::strToUint64);
    case DeclaredKey::eBool:
        return _isTruth(iValue);
    case DeclaredKey::eBytes:
        return _isBytes(iValue);
    case DeclaredKey::eChoice:
        return std::find(iKey.choices.begin(), iKey.choices.end(), ixlaNarrow(iValue)) !=
               iKey.choices.end();
    default:
        return true;
    }
}

/// The values of a type that is not a number.
std::string _valuesText(const DeclaredKey& iKey)
{
    switch (iKey.type)
    {
    case DeclaredKey::eBool:
        return "true or false";
    case DeclaredKey::eText:
        return "text";
    case DeclaredKey::eChoice:
        return "one of " + joinedTexts(iKey.choices);
    case DeclaredKey::eBytes:
        return "bytes of two hexadecimal digits";
    default:
        return "of a type that this tool does not know";
    }
}

std::string _rangeText(const DeclaredKey& iKey)
{
    return "number from " + iKey.low + " to " + iKey.high;
}
} // namespace

bool isNumber(DeclaredKey::EType iType)
{
    return iType <= DeclaredKey::eUint64;
}

DeclaredKey::EType typeOfName(const std::string& iName)
{
    // The end of the names has the place of the unknown type.
    const auto* const found = std::find(std::begin(kNames), std::end(kNames), iName);
    return static_cast<DeclaredKey::EType>(found - std::begin(kNames));
}

std::string nameOfType(DeclaredKey::EType iType)
{
    return iType == DeclaredKey::eUnknown ? "" : kNames[iType];
}

std::string acceptedText(const DeclaredKey& iKey)
{
    const std::string values = isNumber(iKey.type) ? _rangeText(iKey) : _valuesText(iKey);
    return shownUtf8(iKey.unit.empty() ? values : values + " (" + iKey.unit + ")");
}

std::string summaryOf(const DeclaredKey& iKey)
{
    return acceptedText(iKey) + "; default: " + shownUtf8(iKey.byDefault) + "; " +
           (iKey.changes ? "changes at run time" : "read at the start");
}

std::string refusalOf(const DeclaredKey& iKey, const PLiteral& iValue)
{
    if (_isAccepted(iKey, iValue))
    {
        return "";
    }
    return shownUtf8("not " + (isNumber(iKey.type) ? "a " + _rangeText(iKey) : _valuesText(iKey)));
}
