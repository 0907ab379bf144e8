// SPDX-License-Identifier: MIT
// LineModel: a simple second implementation of the text format of configurations.
#ifndef IXLAL_TESTS_FUZZ_LINEMODEL_H
#define IXLAL_TESTS_FUZZ_LINEMODEL_H

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

struct ModelRecord
{
    std::wstring value;
    std::map<std::wstring, std::wstring, std::less<>> attributes;
};

typedef std::map<std::wstring, ModelRecord, std::less<>> ModelValues;

/// The trimmed parts of a line. Without an attribute the line has the value of its key.
struct ModelLine
{
    std::wstring_view key;
    std::wstring_view attribute;
    std::wstring_view text;
};

/// The reference for reading and writing. Only the characters of a line are decoded by the system's
/// own converter, which has a fuzz target of its own.
struct LineModel
{
    /// A part of iText.
    static std::wstring_view trimmed(std::wstring_view iText);

    /// Whether the interfaces accept iName as a key or an attribute.
    static bool isName(std::wstring_view iName);

    /// The lines of a file with these bytes.
    static std::vector<std::wstring> linesOf(std::string_view iBytes);

    /// Splits the entry of one line. Returns 0, or -3001 for no entry.
    static int parse(std::wstring_view iLine, ModelLine& oParts);

    /// Adds the entry of one line to ioValues. Returns 0, or -3001 for no entry.
    static int append(std::wstring_view iLine, ModelValues& ioValues);

    /// Reads the lines of a file up to the first that is no entry; returns its code.
    static int appendFile(const std::vector<std::wstring>& iLines, ModelValues& ioValues);

    /// The lines of a file with these values.
    static std::vector<std::wstring> render(const ModelValues& iValues);
};

#endif
