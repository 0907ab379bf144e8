// SPDX-License-Identifier: MIT
// ConfigLines: the lines of which the files of the cases are made.
#ifndef IXLAL_BENCHMARKS_CONFIGLINES_H
#define IXLAL_BENCHMARKS_CONFIGLINES_H

#include <string>

/// Entries by their number: a key and a value as they stand in configuration files. Every
/// sixteenth value has a character outside of ASCII.
struct ConfigLines
{
    static std::string key(int iNumber);
    static std::string value(int iNumber);

    /// The two as wide texts.
    static std::wstring wideKey(int iNumber);
    static std::wstring wideValue(int iNumber);

    /// A file of iCount lines, each beginning with iPrefix, in the order of their keys or shuffled.
    static std::string file(int iCount, bool iSorted, const std::string& iPrefix = {});
};

#endif
