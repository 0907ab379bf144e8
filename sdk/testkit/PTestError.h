// SPDX-License-Identifier: MIT
// PTestError: what the test kit throws.
#ifndef IXLAL_SDK_PTESTERROR_H
#define IXLAL_SDK_PTESTERROR_H

#include <stdexcept>
#include <string>

/// Something that a test needs did not happen. what() says what, where, and what to do.
class PTestError : public std::runtime_error
{
public:
    /// iText says what was wrong and what to do.
    explicit PTestError(const std::string& iText) : std::runtime_error(iText)
    {
    }
};

#endif
