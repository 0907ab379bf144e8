// SPDX-License-Identifier: MIT
#include "validate/PCheck.h"

const std::vector<PCheck>& allChecks()
{
    static const std::vector<PCheck> sChecks = {
        {"file", "is a shared library with the word size of the core", nullptr, &checkFile},
        {"symbols", "exports nothing beside the factory", "file", &checkSymbols},
        {"loads", "can be loaded, with its dependencies", "file", &checkLoads},
        {"constructor", "does no work in static constructors", "loads", &checkConstructor},
        {"factory", "exports ixlaGetPlugin, which creates a plugin", "loads", &checkFactory},
        {"counts", "counts its references from 0", "factory", &checkCounts},
        {"interfaces", "lists its interface IDs, each once, the same every time", "factory",
         &checkInterfaces},
        {"init", "initialises, and returns its instances without a reference", "factory",
         &checkInit},
        {"init-time", "initialises within --init-limit seconds", "init", &checkInitTime},
        {"unknown-id", "returns -2001 and null for an ID that it does not offer", "init",
         &checkUnknownId},
        {"threads", "returns the same instances to ten threads at the same time", "init",
         &checkThreads},
        {"keys", "declares its configuration keys, if any, completely", "init", &checkKeys},
        {"listeners", "leaves no listener subscribed when the core has stopped", "init",
         &checkListeners},
        {"references", "drops every reference that it takes, once", "init", &checkReferences},
        {"destructor", "does not call the core while it is destroyed", "init", &checkDestructor},
        {"stop", "lets the core stop in time", "init", &checkStop},
        {"unload", "leaves no threads, handles, timers, temporary files or mapped library", "init",
         &checkUnload},
    };
    return sChecks;
}
