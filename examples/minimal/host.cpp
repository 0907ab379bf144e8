// SPDX-License-Identifier: MIT
// A complete host: starts the core, uses the service of a plugin, and stops.
// Arguments: key=value pairs for the core.

#include "IHello.h"

#include "Ixla.h"
#include "PBaseptr.h"
#include "portinglayer/PUtf8.h"

#include <cstdio>
#include <cstring>
#include <vector>

// Converts the arguments to the wide texts of the core.
static std::vector<PString> wideArguments(int iCount, char** iArguments)
{
    std::vector<PString> texts;
    for (int i = 1; i < iCount; ++i)
    {
        std::vector<wchar_t> buffer(std::strlen(iArguments[i]) + 1);
        const std::size_t length =
            PUtf8::decodeLine(iArguments[i], buffer.size() - 1, buffer.data());
        texts.push_back(PString(buffer.data(), static_cast<unsigned int>(length)));
    }
    return texts;
}

// A function of its own, so that its holder releases the service before the core stops.
static int callService()
{
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(kHelloId, instance); // initialises the plugin
    if (result != eIxlaOk)
    {
        return result;
    }
    const PBaseptr<IHello> hello(static_cast<IHello*>(instance)); // holds the service
    std::printf("The plugin says: %ls\n", hello->greet(1));
    std::printf("The plugin says: %ls\n", hello->greet(2));
    return eIxlaOk;
}

int main(int iCount, char** iArguments)
{
    const std::vector<PString> arguments = wideArguments(iCount, iArguments);
    int result = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    if (result != eIxlaOk)
    {
        std::printf("start failed: %d\n", result);
        return 1;
    }
    result = callService();
    const int stopped = ixlaStop();
    std::printf("service: %d, stop: %d\n", result, stopped);
    return result == eIxlaOk && stopped == eIxlaOk ? 0 : 1;
}
