// SPDX-License-Identifier: MIT
// PLogEntry: one line of the core's log.
#ifndef IXLAL_TOOLS_PLOGENTRY_H
#define IXLAL_TOOLS_PLOGENTRY_H

#include <string_view>

/// The parts of a line; they refer to its text. All members are async-signal-safe.
struct PLogEntry
{
    /// Reads a line without its line end. Returns false for a text that is no such line.
    bool read(std::string_view iLine);

    /// Whether the text begins with iPrefix; sets oRest to what follows.
    bool begins(std::string_view iPrefix, std::string_view& oRest) const;

    /// Whether the text is iFunction, an address as in "[pg:0x1f]", a blank, and another text. Sets
    /// oAddress and oRest to the last two.
    bool isOfPlugin(std::string_view iFunction, unsigned long long& oAddress,
                    std::string_view& oRest) const;

    int process = 0;
    int thread = 0;
    char kind = 0;          ///< D, I or E
    std::string_view clock; ///< hours, minutes and seconds
    std::string_view text;  ///< after the tag
};

#endif
