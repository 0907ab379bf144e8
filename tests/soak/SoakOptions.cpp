// SPDX-License-Identifier: MIT
#include "soak/SoakOptions.h"

#include <charconv>

bool SoakOptions::parse(int iCount, char** iArguments)
{
    for (int i = 1; i < iCount; i += 2)
    {
        if (i + 1 == iCount)
        {
            return false;
        }
        const std::string option = iArguments[i];
        const std::string value = iArguments[i + 1];
        if (option == "--leak" && (value == "memory" || value == "handle" || value == "error"))
        {
            leak = value;
            continue;
        }
        int seconds = 0;
        const auto read = std::from_chars(value.data(), value.data() + value.size(), seconds);
        if (option != "--seconds" || *read.ptr != '\0' || seconds <= 0)
        {
            return false;
        }
        time = std::chrono::seconds(seconds);
    }
    return true;
}
