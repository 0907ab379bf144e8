// SPDX-License-Identifier: MIT
// PForeignExit: reports a plugin that ends the process with exit.
#ifndef IXLAL_TOOLS_PFOREIGNEXIT_H
#define IXLAL_TOOLS_PFOREIGNEXIT_H

#include <cstdint>
#include <functional>
#include <vector>

/// While the object exists, exit and quick_exit end the process with eExitByPlugin, after a line
/// that names the library of the caller. Without it, the plugin's code could be one of the host's,
/// and the destructors of the libraries would run while threads use them. A process has at most one
/// such object. A call of _exit cannot be noticed. Processes that plugins fork may call exit.
class PForeignExit
{
public:
    /// iCleanUp is called before the process ends, on the thread that has called exit.
    explicit PForeignExit(std::function<void()> iCleanUp);
    ~PForeignExit();

    PForeignExit(const PForeignExit&) = delete;
    PForeignExit& operator=(const PForeignExit&) = delete;

    /// Ends the process. iCall is the call with its argument.
    [[noreturn]] void end(const char* iCall) const;

    /// The object; null without one, and in another process than that of its creation.
    static const PForeignExit* active();

private:
    const std::function<void()> fCleanUp;
    const int fProcess;
    const std::vector<std::uintptr_t> fLibraries; ///< of the host
};

#endif
