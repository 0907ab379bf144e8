// SPDX-License-Identifier: MIT
// PRequestError: the reason why a request is not done.
#ifndef IXLAL_TOOLS_PREQUESTERROR_H
#define IXLAL_TOOLS_PREQUESTERROR_H

#include <stdexcept>
#include <string>

///@{
/// The kinds of errors; docs/control.md lists them.
constexpr char kBadRequest[] = "bad-request";
constexpr char kTooLarge[] = "too-large";
constexpr char kTooFast[] = "too-fast";
constexpr char kTooMany[] = "too-many";
constexpr char kNotAllowed[] = "not-allowed";
constexpr char kNotFound[] = "not-found";
constexpr char kRefused[] = "refused";
constexpr char kFailed[] = "failed";
///@}

/// The text says what is wrong and how to fix it.
class PRequestError : public std::runtime_error
{
public:
    /// iCode is the result code of the core behind the error, 0 for none.
    PRequestError(const char* iKind, const std::string& iText, int iCode = 0)
        : std::runtime_error(iText), fKind(iKind), fCode(iCode)
    {
    }

    /// One of the kinds above.
    const char* kind() const noexcept
    {
        return fKind;
    }

    int code() const noexcept
    {
        return fCode;
    }

private:
    const char* fKind;
    int fCode;
};

#endif
