// SPDX-License-Identifier: MIT
// PStopFlow: the steps of a stop, in order.
#ifndef IXLAL_PSTOPFLOW_H
#define IXLAL_PSTOPFLOW_H

class PCoreParts;

/// Runs on the stopping thread, once.
class PStopFlow
{
public:
    explicit PStopFlow(PCoreParts& ioParts) noexcept : fParts(ioParts)
    {
    }

    PStopFlow(const PStopFlow&) = delete;
    PStopFlow& operator=(const PStopFlow&) = delete;

    /// Does all steps of a stop except the destruction of the core. Returns 0, or the code of
    /// PExitNotifier::announceExit; nothing has been released then.
    int stopFlow();

private:
    void writeMemory() const;
    int readExitTimeout() const;
    void graceSleep(int iTimeout) const;

    PCoreParts& fParts;
};

#endif
