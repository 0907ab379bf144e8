// SPDX-License-Identifier: MIT
// PConfigCheck: finds errors and doubtful lines in a configuration file.
#ifndef IXLAL_TOOLS_PCONFIGCHECK_H
#define IXLAL_TOOLS_PCONFIGCHECK_H

#include "shared/PConfigFile.h"

#include <map>
#include <string>
#include <vector>

/// A finding at one place of a file.
struct ConfigFinding
{
    bool isError = false; ///< the core refuses the line; otherwise a warning
    unsigned int line = 0;
    unsigned int column = 0; ///< in characters, from 1
    std::string text;
};

/// Checks one file.
class PConfigCheck
{
public:
    enum EFileKind
    {
        eValues,
        eManager,  ///< the manager's file: IDs and their files
        eProperty, ///< the property file of the core
        eStore     ///< keys are "ID|key"
    };

    PConfigCheck(const PConfigFile& iFile, EFileKind iKind);

    /// The findings, sorted by line and column.
    std::vector<ConfigFinding> findings() const;

    /// Adds a finding of another check.
    void add(bool iIsError, unsigned int iLine, unsigned int iColumn, const std::string& iText);

private:
    /// The lines of a key so far.
    struct Seen
    {
        unsigned int value = 0; ///< the line of the last value, 0 for none
        std::map<PString, unsigned int> attributes;
    };

    void findValues(const PConfigFile& iFile);
    void checkSyntax(const ConfigLine& iLine);
    void checkBytes(const ConfigLine& iLine);
    void checkNames(const ConfigLine& iLine);
    void checkKey(const ConfigLine& iLine);
    void checkValue(const ConfigLine& iLine);
    void checkEdges(const ConfigPart& iPart, unsigned int iLine, const char* iWhat);
    void checkDuplicate(const ConfigLine& iLine);
    void checkAttribute(const ConfigLine& iLine, const Seen& iSeen);
    void warn(const ConfigLine& iLine, const ConfigPart& iPlace, const std::string& iText);

    const EFileKind fKind;
    std::map<PString, unsigned int> fFirstValues; ///< the line of each key's first value
    std::map<PString, Seen> fSeen;
    std::vector<ConfigFinding> fFindings;
};

#endif
