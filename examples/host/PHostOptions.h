// SPDX-License-Identifier: MIT
// PHostOptions: the command line of the example host.
#ifndef IXLAL_EXAMPLES_PHOSTOPTIONS_H
#define IXLAL_EXAMPLES_PHOSTOPTIONS_H

#include "portinglayer/PString.h"

#include <string>
#include <utility>
#include <vector>

class PHostOptions
{
public:
    /// Reads the arguments after the program's name. For invalid arguments returns false, with an
    /// error message in oProblem.
    bool parse(const std::vector<std::string>& iArguments, std::string& oProblem);

    static const char* usage();

    std::vector<PString> coreArguments;          ///< of the form key=value
    int seconds = 0;                             ///< 0: run until a signal arrives
    std::vector<std::pair<PString, int>> raised; ///< thresholds of the alarm, by key
    bool help = false;

private:
    bool parseOption(const std::string& iOption, const std::string& iValue);
    bool parseRaised(const std::string& iText);
};

#endif
