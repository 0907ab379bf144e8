// SPDX-License-Identifier: MIT
// PLogField: appends a converted argument to a line.
#ifndef IXLAL_PLOGFIELD_H
#define IXLAL_PLOGFIELD_H

#include "PLogSpec.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

class PLogLine;

/// Appends numbers and texts with the sign, the zeros and the blanks that a conversion asks for.
/// Each operation returns 0 or -12.
class PLogField
{
public:
    /// No limit for the characters of a text.
    static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

    explicit PLogField(PLogLine& ioLine) noexcept : fLine(ioLine)
    {
    }

    PLogField(const PLogField&) = delete;
    PLogField& operator=(const PLogField&) = delete;

    /// The prefix of a number that is not negative.
    std::string_view sign() const noexcept;

    int addNumber(unsigned long long iNumber, unsigned int iBase,
                  std::string_view iPrefix) noexcept;

    /// Adds a decimal number for which isShort is true. iPrefix has at most one character.
    int addShort(std::uint32_t iNumber, std::string_view iPrefix) noexcept;

    ///@{
    /// Add at most iMost characters of a text, or "(null)".
    int addWide(const wchar_t* iText, std::size_t iMost) noexcept;
    int addNarrow(const char* iText, std::size_t iMost) noexcept;
    ///@}

    int addPadded(const wchar_t* iText, std::size_t iLen) noexcept;

    PLogSpec spec; ///< without flags and sizes between two conversions

private:
    bool isShort() const noexcept;
    int addDigits(std::string_view iPrefix, std::string_view iDigits, int iLeast) noexcept;
    int addNull(std::size_t iMost) noexcept;
    int addPadding(std::size_t iLen) noexcept;

    PLogLine& fLine;
};

#endif
