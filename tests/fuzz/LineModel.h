// SPDX-License-Identifier: MIT
// LineModel: the text format of configurations, told once more in the plainest way.
#ifndef IXLAL_TESTS_FUZZ_LINEMODEL_H
#define IXLAL_TESTS_FUZZ_LINEMODEL_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

struct ModelRecord
{
    std::wstring value;
    std::map<std::wstring, std::wstring> attributes;
};

typedef std::map<std::wstring, ModelRecord> ModelValues;

/// What reading and writing are compared with. Only the characters of a line are decoded by the
/// system's own converter, which has a target of its own.
struct LineModel
{
    static std::wstring trimmed(const std::wstring& iText);

    /// Whether the interfaces take iName as a key or an attribute.
    static bool isName(const std::wstring& iName);

    /// The lines that a file of these bytes has.
    static std::vector<std::wstring> linesOf(std::string_view iBytes);

    /// Puts the entry of one line into ioValues. Returns 0, or -3001 for no entry.
    static int append(const std::wstring& iLine, ModelValues& ioValues);

    /// Reads lines of a file up to the first that is no entry; returns its code.
    static int appendFile(const std::vector<std::wstring>& iLines, ModelValues& ioValues);

    /// The lines of a file of these values.
    static std::vector<std::wstring> render(const ModelValues& iValues);
};

#endif
