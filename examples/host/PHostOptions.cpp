// SPDX-License-Identifier: MIT
#include "host/PHostOptions.h"

#include "helpers/Text.h"
#include "portinglayer/PUtils.h"

namespace
{
bool _toNumber(const std::string& iText, int& oNumber)
{
    return PUtils::strToInt32(ixlaWide(iText), oNumber) == 0;
}

bool _isOption(const std::string& iArgument)
{
    return iArgument == "--config" || iArgument == "--seconds" || iArgument == "--raise";
}
} // namespace

const char* PHostOptions::usage()
{
    return "usage: example-host [--config FILE] [--seconds N] [--raise KEY=NUMBER]... "
           "[KEY=VALUE]...\n"
           "  --config FILE       property file of the core (the same as core.prs.file=FILE)\n"
           "  --seconds N         stop after N seconds; without it SIGINT or SIGTERM stops\n"
           "  --raise KEY=NUMBER  set a threshold of the alarm half way through (without\n"
           "                      --seconds, after one second)\n"
           "  KEY=VALUE           an argument of the core\n";
}

bool PHostOptions::parse(const std::vector<std::string>& iArguments, std::string& oProblem)
{
    for (std::size_t i = 0; i < iArguments.size(); ++i)
    {
        const std::string& argument = iArguments[i];
        if (argument == "--help")
        {
            help = true;
            return true;
        }
        const bool isOption = _isOption(argument);
        if (!isOption && argument.find('=') != std::string::npos)
        {
            coreArguments.push_back(ixlaWide(argument));
            continue;
        }
        if (!isOption || ++i == iArguments.size() || !parseOption(argument, iArguments[i]))
        {
            oProblem = argument;
            return false;
        }
    }
    return true;
}

bool PHostOptions::parseOption(const std::string& iOption, const std::string& iValue)
{
    if (iOption == "--config")
    {
        coreArguments.push_back(ixlaWide("core.prs.file=" + iValue));
        return true;
    }
    if (iOption == "--seconds")
    {
        return _toNumber(iValue, seconds) && seconds > 0;
    }
    return parseRaised(iValue);
}

bool PHostOptions::parseRaised(const std::string& iText)
{
    const std::size_t equals = iText.find('=');
    int number = 0;
    if (equals == 0 || equals == std::string::npos || !_toNumber(iText.substr(equals + 1), number))
    {
        return false;
    }
    raised.emplace_back(ixlaWide(iText.substr(0, equals)), number);
    return true;
}
