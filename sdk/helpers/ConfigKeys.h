// SPDX-License-Identifier: MIT
/// @file
/// The types of declared configuration keys. PKeyedConfig.h has the macros that declare them.
#ifndef IXLAL_SDK_CONFIGKEYS_H
#define IXLAL_SDK_CONFIGKEYS_H

#include "helpers/PTypedKey.h"
#include "portinglayer/PUtils.h"

#include <memory>
#include <vector>

///@{
/// Read a number as IConfig does. Return 0 or a negative code.
inline int ixlaReadNumber(const PLiteral& iText, int& oValue) noexcept
{
    return PUtils::strToInt32(iText, oValue);
}

inline int ixlaReadNumber(const PLiteral& iText, unsigned int& oValue) noexcept
{
    return PUtils::strToUint32(iText, oValue);
}

inline int ixlaReadNumber(const PLiteral& iText, long long& oValue) noexcept
{
    return PUtils::strToInt64(iText, oValue);
}

inline int ixlaReadNumber(const PLiteral& iText, unsigned long long& oValue) noexcept
{
    return PUtils::strToUint64(iText, oValue);
}
///@}

/// An integer between two limits.
template <class T>
class PNumberKey final : public PTypedKey<T>
{
public:
    /// Both limits are accepted.
    PNumberKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts, T iLow, T iHigh)
        : PTypedKey<T>(ioKeys, iTexts), fLow(iLow), fHigh(iHigh)
    {
    }

private:
    bool convert(const PString& iText, T& oValue) const override
    {
        return ixlaReadNumber(iText, oValue) == 0 && oValue >= fLow && oValue <= fHigh;
    }

    const T fLow;
    const T fHigh;
};

/// A truth value.
class PBoolKey final : public PTypedKey<bool>
{
public:
    /// Adds the key to ioKeys.
    PBoolKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts) : PTypedKey<bool>(ioKeys, iTexts)
    {
    }

private:
    bool convert(const PString& iText, bool& oValue) const override
    {
        return PUtils::strToBool(iText, oValue) == 0;
    }
};

/// Any text.
class PTextKey final : public PTypedKey<PString>
{
public:
    /// Adds the key to ioKeys.
    PTextKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts) : PTypedKey<PString>(ioKeys, iTexts)
    {
    }

private:
    bool convert(const PString& iText, PString& oValue) const override
    {
        oValue = iText;
        return true;
    }
};

/// One of several words.
class PChoiceKey final : public PTypedKey<PString>
{
public:
    /// iChoices has the words, separated by "|".
    PChoiceKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts, const wchar_t* iChoices)
        : PTypedKey<PString>(ioKeys, iTexts), fChoices(iChoices)
    {
    }

private:
    bool convert(const PString& iText, PString& oValue) const override
    {
        oValue = iText;
        PString rest(fChoices);
        PString word;
        int result = PLiteral::getNextToken(rest, word, L'|');
        while (result == 0 && word != iText)
        {
            result = PLiteral::getNextToken(rest, word, L'|');
        }
        return result == 0;
    }

    const wchar_t* const fChoices;
};

/// Bytes, written as two hexadecimal digits each.
class PBytesKey final : public PTypedKey<std::vector<unsigned char>>
{
public:
    /// Adds the key to ioKeys.
    PBytesKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts)
        : PTypedKey<std::vector<unsigned char>>(ioKeys, iTexts)
    {
    }

private:
    bool convert(const PString& iText, std::vector<unsigned char>& oValue) const override
    {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        if (PUtils::strToBinary(iText, data, size) != 0)
        {
            return false;
        }
        const std::unique_ptr<unsigned char[]> owner(data);
        oValue.assign(data, data + size);
        return true;
    }
};

#endif
