// SPDX-License-Identifier: MIT
// StartModel: a simple second implementation of the arguments that the core reads.
#ifndef IXLAL_TESTS_FUZZ_STARTMODEL_H
#define IXLAL_TESTS_FUZZ_STARTMODEL_H

#include <string>
#include <string_view>
#include <vector>

struct StartModel
{
    /// Reads the arguments up to the first with a bad value. Returns 0, or -502 for such a value.
    int parse(const std::vector<std::wstring>& iArguments);

    std::wstring corePrsFile;
    std::wstring logFile;
    std::wstring pluginsDir;
    int logLevel = 0;
    int logMaxSize = 0;
    int logMaxCount = 0;
    int logParts = 0;
    bool logEnable = true;

private:
    bool take(std::wstring_view iKey, std::wstring_view iValue);
};

#endif
