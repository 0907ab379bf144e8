// SPDX-License-Identifier: MIT
// ConfigLines: generates the configuration files of the cases.
#ifndef IXLAL_BENCHMARKS_CONFIGLINES_H
#define IXLAL_BENCHMARKS_CONFIGLINES_H

#include <string>

/// Numbered entries, each a key and a value in the form of a configuration file. Every sixteenth
/// value has a non-ASCII character.
struct ConfigLines
{
    static std::string key(int iNumber);
    static std::string value(int iNumber);

    ///@{
    /// Key or value as a wide text.
    static std::wstring wideKey(int iNumber);
    static std::wstring wideValue(int iNumber);
    ///@}

    /// A file of iCount lines, each starting with iPrefix, in the order of their keys or shuffled.
    static std::string file(int iCount, bool iSorted, const std::string& iPrefix = {});
};

#endif
