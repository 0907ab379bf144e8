// SPDX-License-Identifier: MIT
// PCoreCalls: the calls of the functions of the core.
#ifndef IXLAL_TOOLS_PCORECALLS_H
#define IXLAL_TOOLS_PCORECALLS_H

#include "IConfigManager.h"

#include <string>
#include <thread>
#include <vector>

/// This program exports the functions of the core, except for ixlaStart, and calls those of the
/// library. The loader prefers its functions to the library's, so they see every call. Any thread
/// may call the operations.
class PCoreCalls
{
public:
    struct Call
    {
        std::string text;   ///< the function, with the interface ID
        const void* caller; ///< an address in the code of the caller
        std::thread::id thread;
    };

    /// Whether code at this address is meant.
    typedef bool (*Judge)(const void* iCaller);

    /// Records calls from now on.
    static void begin();

    /// Ends recording; returns the calls in their order.
    static std::vector<Call> end();

    /// From now on, callers that iIsMeant accepts get iManager as the configuration manager.
    static void replaceManager(IConfigManager* iManager, Judge iIsMeant);

    // Of the functions of the core.
    static void add(const std::string& iText, const void* iCaller);
    static IConfigManager* managerFor(const void* iCaller);
};

#endif
