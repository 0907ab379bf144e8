// SPDX-License-Identifier: MIT
// PTestError: the exception of the test kit.
#ifndef IXLAL_SDK_PTESTERROR_H
#define IXLAL_SDK_PTESTERROR_H

#include <stdexcept>
#include <string>

/// Thrown when an operation of the test kit fails. what() says what failed, where, and what to do.
class PTestError : public std::runtime_error
{
public:
    /// iText says what failed and what to do.
    explicit PTestError(const std::string& iText) : std::runtime_error(iText)
    {
    }
};

#endif
