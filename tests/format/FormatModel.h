// SPDX-License-Identifier: MIT
// FormatModel: compares the formats of log lines with those of the C library.
#ifndef IXLAL_TESTS_FORMAT_FORMATMODEL_H
#define IXLAL_TESTS_FORMAT_FORMATMODEL_H

#include <string>
#include <string_view>

/// Turns any bytes into a format with arguments. The locale of the process must be C.UTF-8.
struct FormatModel
{
    /// Formats with the C library and with the logger. Returns both texts with the format, or an
    /// empty text if they are the same.
    static std::string difference(std::string_view iBytes);
};

#endif
