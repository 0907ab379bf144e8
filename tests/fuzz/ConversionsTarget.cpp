// SPDX-License-Identifier: MIT
// Numbers, truth values and bytes: the text of a value is read as that value, and any other text
// gives the value or the code of the model.
#include "fuzz/Check.h"
#include "fuzz/ConversionModel.h"
#include "fuzz/Texts.h"
#include "portinglayer/PUtils.h"

#include <memory>

namespace
{
constexpr int kUntouched = 77;

std::string _takeBytes(const std::unique_ptr<unsigned char[]>& iData, unsigned int iSize)
{
    return std::string(reinterpret_cast<const char*>(iData.get()), iSize);
}

template <class TValue>
void _checkNumberOf(const std::wstring& iText, int (*iConvert)(const PLiteral&, TValue&) noexcept)
{
    TValue expected = kUntouched;
    const int code = ConversionModel::toNumber(iText, expected);
    TValue found = kUntouched;
    checkCode(iConvert(owned(iText), found), code, "code of a text as a number");
    check(found == expected, "number of a text");
}

void _checkBoolOf(const std::wstring& iText)
{
    for (const bool before : {false, true})
    {
        bool expected = before;
        const int code = ConversionModel::toBool(iText, expected);
        bool found = before;
        checkCode(PUtils::strToBool(owned(iText), found), code, "code of a text as a truth value");
        check(found == expected, "truth value of a text");
    }
}

void _checkBytesOf(const std::wstring& iText)
{
    std::string expected;
    const int code = ConversionModel::toBytes(iText, expected);
    unsigned char* data = nullptr;
    unsigned int size = kUntouched;
    checkCode(PUtils::strToBinary(owned(iText), data, size), code, "code of a text as bytes");
    const std::unique_ptr<unsigned char[]> owner(data);
    if (code != 0)
    {
        check(!data && size == kUntouched, "a failure touches nothing");
        return;
    }
    check(data != nullptr, "there is a block even for no bytes");
    checkBytes(_takeBytes(owner, size), expected, "bytes of a text");
}

template <class TValue>
void _checkTextOf(std::string_view iBytes, int (*iToText)(TValue, PString&) noexcept,
                  int (*iConvert)(const PLiteral&, TValue&) noexcept)
{
    TValue value = 0;
    iBytes.copy(reinterpret_cast<char*>(&value), sizeof value);
    PString text(L"before");
    checkCode(iToText(value, text), 0, "a number has a text");
    checkText(textOf(text), std::to_wstring(value), "text of a number");
    TValue again = 0;
    checkCode(iConvert(text, again), 0, "the text of a number is one");
    check(again == value, "a number comes back");
}

void _checkTextOfBytes(std::string_view iBytes)
{
    PString text(L"before");
    const auto* const bytes = reinterpret_cast<const unsigned char*>(iBytes.data());
    const auto size = static_cast<unsigned int>(iBytes.size());
    checkCode(PUtils::binaryToStr(bytes, size, text), 0, "bytes have a text");
    check(text.len() == 2 * size, "two digits a byte");
    unsigned char* data = nullptr;
    unsigned int sizeAgain = 0;
    checkCode(PUtils::strToBinary(text, data, sizeAgain), 0, "the text of bytes is one");
    const std::unique_ptr<unsigned char[]> owner(data);
    checkBytes(_takeBytes(owner, sizeAgain), std::string(iBytes), "bytes come back");
}

void _checkTextOfBool(bool iValue)
{
    PString text(L"before");
    bool again = !iValue;
    checkCode(PUtils::boolToStr(iValue, text), 0, "a truth value has a text");
    checkText(textOf(text), iValue ? L"true" : L"false", "text of a truth value");
    checkCode(PUtils::strToBool(text, again), 0, "the text of a truth value is one");
    check(again == iValue, "a truth value comes back");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::string_view bytes = bytesOf(iData, iSize);
    const std::wstring text = decoded(bytes);
    _checkNumberOf(text, &PUtils::strToInt32);
    _checkNumberOf(text, &PUtils::strToUint32);
    _checkNumberOf(text, &PUtils::strToInt64);
    _checkNumberOf(text, &PUtils::strToUint64);
    _checkBoolOf(text);
    _checkBytesOf(text);
    _checkTextOf(bytes, &PUtils::int32ToStr, &PUtils::strToInt32);
    _checkTextOf(bytes, &PUtils::uint32ToStr, &PUtils::strToUint32);
    _checkTextOf(bytes, &PUtils::int64ToStr, &PUtils::strToInt64);
    _checkTextOf(bytes, &PUtils::uint64ToStr, &PUtils::strToUint64);
    _checkTextOfBytes(bytes);
    _checkTextOfBool(iSize % 2 == 0);
    return 0;
}
