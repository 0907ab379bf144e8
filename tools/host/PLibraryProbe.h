// SPDX-License-Identifier: MIT
// PLibraryProbe: loads a plugin library in a separate process, which may die.
#ifndef IXLAL_TOOLS_PLIBRARYPROBE_H
#define IXLAL_TOOLS_PLIBRARYPROBE_H

#include "host/PStopSignals.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

/// Runs ixla-probe, which does what the core does with a library before it initialises a plugin.
class PLibraryProbe
{
public:
    struct Outcome
    {
        std::string flaw; ///< why the core would not start with the library; empty without a flaw
        std::vector<std::string> interfaces; ///< that the plugin offers
        std::vector<std::string> builtIn;    ///< that the core offers
    };

    /// iSignals is borrowed and must outlive the object. Throws std::runtime_error if there is no
    /// ixla-probe.
    explicit PLibraryProbe(const PStopSignals& iSignals);

    /// Tries a library. The outcome has a flaw if a signal arrives meanwhile. Throws
    /// std::system_error if no process can be started.
    Outcome run(const std::string& iLibrary) const;

private:
    int awaitEnd(int iProcess) const;
    static Outcome judge(const nlohmann::json& iFacts, int iStatus);

    const PStopSignals& fSignals;
    const std::string fProgram;
};

#endif
