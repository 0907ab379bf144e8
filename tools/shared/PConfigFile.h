// SPDX-License-Identifier: MIT
// PConfigFile: a configuration file, line by line.
#ifndef IXLAL_TOOLS_PCONFIGFILE_H
#define IXLAL_TOOLS_PCONFIGFILE_H

#include "portinglayer/PString.h"

#include <vector>

/// Part of a line: its text without the blanks around it, and its first column.
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
    bool hasColon = false; ///< before the "="
};

/// The lines and columns of a file's entries, which the core does not report. The file is split
/// into lines and characters by the core's own classes. The values are read by the core.
class PConfigFile
{
public:
    /// Reads the file. Returns 0 or the code of opening or reading it; the lines before the failure
    /// are kept.
    int read(const PLiteral& iPath);

    const std::vector<ConfigLine>& lines() const;

    /// Splits a line, or an argument of a core. Its number is 0.
    static ConfigLine split(const PString& iText);

    /// The number of the first line that the core refuses, 0 for none. The core does not read the
    /// lines after it.
    unsigned int brokenLine() const;

    /// Whether the core reads the line.
    bool isRead(const ConfigLine& iLine) const;

    /// The number of comments.
    unsigned int comments() const;

private:
    void addLine(unsigned int iNumber, const PString& iText);

    std::vector<ConfigLine> fLines;
    unsigned int fBrokenLine = 0;
    unsigned int fComments = 0;
};

#endif
