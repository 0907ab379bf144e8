// SPDX-License-Identifier: MIT
// PConfigFile: a configuration file, line by line.
#ifndef IXLAL_TOOLS_PCONFIGFILE_H
#define IXLAL_TOOLS_PCONFIGFILE_H

#include "portinglayer/PString.h"

#include <vector>

/// Part of a line: its text without the blanks around it, and where that begins.
struct ConfigPart
{
    PString text;
    unsigned int column = 1; ///< in characters, from 1
};

/// A line that is neither empty nor a comment.
struct ConfigLine
{
    enum EKind
    {
        eEntry,
        eNoEquals,
        eNoKey
    };

    EKind kind = eEntry;
    unsigned int number = 0;
    PString text; ///< the whole line, with the blanks around it
    ConfigPart key;
    ConfigPart attribute; ///< empty for a value
    ConfigPart value;
    bool hasColon = false; ///< in front of the "="
};

/// Where the entries of a file stand, which the core doesn't tell. How a file is split into lines
/// and characters is the core's own way; what the values are is left to the core.
class PConfigFile
{
public:
    /// Reads the file. Returns 0 or the code of opening or reading it; the lines before the failure
    /// are there.
    int read(const PLiteral& iPath);

    const std::vector<ConfigLine>& lines() const;

    /// The number of the first line that the core refuses, 0 for none. It reads nothing after it.
    unsigned int brokenLine() const;

    /// Whether the core reads the line.
    bool isRead(const ConfigLine& iLine) const;

    /// How many comments there are.
    unsigned int comments() const;

private:
    void addLine(unsigned int iNumber, const PString& iText);

    std::vector<ConfigLine> fLines;
    unsigned int fBrokenLine = 0;
    unsigned int fComments = 0;
};

#endif
