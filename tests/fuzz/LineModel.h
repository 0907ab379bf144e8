// SPDX-License-Identifier: MIT
// LineModel: a simple second implementation of the text format of configurations.
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

/// The reference for reading and writing. Only the characters of a line are decoded by the system's
/// own converter, which has a fuzz target of its own.
struct LineModel
{
    static std::wstring trimmed(const std::wstring& iText);

    /// Whether the interfaces accept iName as a key or an attribute.
    static bool isName(const std::wstring& iName);

    /// The lines of a file with these bytes.
    static std::vector<std::wstring> linesOf(std::string_view iBytes);

    /// Adds the entry of one line to ioValues. Returns 0, or -3001 for no entry.
    static int append(const std::wstring& iLine, ModelValues& ioValues);

    /// Reads the lines of a file up to the first that is no entry; returns its code.
    static int appendFile(const std::vector<std::wstring>& iLines, ModelValues& ioValues);

    /// The lines of a file with these values.
    static std::vector<std::wstring> render(const ModelValues& iValues);
};

#endif
