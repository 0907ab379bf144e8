// SPDX-License-Identifier: MIT
// ConversionModel: a simple second implementation of the conversions to numbers, truth values and
// bytes.
#ifndef IXLAL_TESTS_FUZZ_CONVERSIONMODEL_H
#define IXLAL_TESTS_FUZZ_CONVERSIONMODEL_H

#include <limits>
#include <string>

/// All return 0 with the value, -22 for a text of another form, -34 for a number out of range.
struct ConversionModel
{
    template <class TValue>
    static int toNumber(const std::wstring& iText, TValue& oValue)
    {
        using Limits = std::numeric_limits<TValue>;
        const auto most = static_cast<unsigned long long>(Limits::max());
        bool negative = false;
        unsigned long long magnitude = 0;
        const int result =
            toMagnitude(iText, most, Limits::is_signed ? most + 1 : 0, negative, magnitude);
        if (result == 0)
        {
            oValue = static_cast<TValue>(negative ? 0 - magnitude : magnitude);
        }
        return result;
    }

    static int toBool(const std::wstring& iText, bool& oValue);
    static int toBytes(const std::wstring& iText, std::string& oBytes);

private:
    static int toMagnitude(const std::wstring& iText, unsigned long long iMost,
                           unsigned long long iMostNegative, bool& oNegative,
                           unsigned long long& oMagnitude);
};

#endif
