// SPDX-License-Identifier: MIT
// PHostOptions: what the command line of the example host asks for.
#ifndef IXLAL_EXAMPLES_PHOSTOPTIONS_H
#define IXLAL_EXAMPLES_PHOSTOPTIONS_H

#include "portinglayer/PString.h"

#include <string>
#include <utility>
#include <vector>

class PHostOptions
{
public:
    /// Reads the arguments behind the program's name. Returns false, with what is wrong in
    /// oProblem, when they make no sense.
    bool parse(const std::vector<std::string>& iArguments, std::string& oProblem);

    static const char* usage();

    std::vector<PString> coreArguments;          ///< of the form key=value
    int seconds = 0;                             ///< 0 for running until a signal comes
    std::vector<std::pair<PString, int>> raised; ///< thresholds of the alarm
    bool help = false;

private:
    bool parseOption(const std::string& iOption, const std::string& iValue);
    bool parseRaised(const std::string& iText);
};

#endif
