// SPDX-License-Identifier: MIT
// PConfigFormat: the text format of configurations.
#ifndef IXLAL_PCONFIGFORMAT_H
#define IXLAL_PCONFIGFORMAT_H

#include "config/PConfigValues.h"
#include "config/PReadFault.h"
#include "portinglayer/PBlank.h"
#include "portinglayer/PString.h"

class PFile;

/// The parts of a line, in its text.
struct PConfigLine
{
    PSpan key;
    PSpan attribute; ///< empty for a value
    PSpan value;
};

/// Parses lines of the forms "key = value" and "key : attribute = text" into a table, which the
/// caller synchronises. A later value of a key replaces an earlier one; of an attribute the first
/// text stays.
class PConfigFormat
{
public:
    /// Splits a line and trims its parts. The first "=" and the first ":" before it count. Returns
    /// 0, or -3001 without "=" or with an empty key, and oParts is unchanged.
    static int _parseLine(const PSpan& iLine, PConfigLine& oParts) noexcept;

    /// Whether the three names are free of the separators "=", ":" and "|". Returns 0 or -3004.
    static int _checkAllowedChars(const PLiteral& iID, const PLiteral& iKey,
                                  const PLiteral& iAttribute) noexcept;

    /// Adds iCount lines to a table that has an arena. Returns 0, or -3001 or -501 with the lines
    /// before the failed one added.
    static int _appendArgs(const PString* iArgs, std::size_t iCount,
                           PConfigValues& ioValues) noexcept;

    /// Adds the lines of a file that are neither empty nor comments to a table that has an arena.
    /// A read error other than lack of memory ends the file early. ioFault gets the last line and
    /// the code of such an error. Returns 0, or -3001 or -501 with the lines before the failed one
    /// added. Throws std::bad_alloc.
    static int _appendLines(PFile& ioFile, PConfigValues& ioValues, PReadFault& ioFault);
};

#endif
