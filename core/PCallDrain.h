// SPDX-License-Identifier: MIT
// PCallDrain: waits until the calls inside have left a core that stops.
#ifndef IXLAL_PCALLDRAIN_H
#define IXLAL_PCALLDRAIN_H

class PCallGate;
class PCore;
class PCoreLog;
class PCoreServices;

/// A core whose calls do not leave in time is never destroyed, nor are its plugins and libraries.
/// Only the thread that starts or stops the core uses this object.
class PCallDrain
{
public:
    PCallDrain(const PCoreLog& iLog, const PCoreServices& iServices) noexcept
        : fLog(iLog), fServices(iServices), fKept(false), fKeptGate(nullptr), fNextKept(nullptr)
    {
    }

    PCallDrain(const PCallDrain&) = delete;
    PCallDrain& operator=(const PCallDrain&) = delete;

    /// Closes the gate and waits for the calls inside. Then closes the configuration manager, and
    /// waits for a call that holds its lock. False when the core must never be destroyed. The gate
    /// is null in a child that was forked during the start or the stop.
    bool letCallsLeave(PCallGate* iGate) noexcept;

    /// Adds the core to the list of those that are never destroyed, with the gate through which its
    /// calls leave; null in such a child.
    void keep(PCore& iCore, PCallGate* iGate) noexcept;

private:
    bool closeConfigManager(long long iStart) noexcept;

    static PCore* fKeptCores;

    const PCoreLog& fLog;
    const PCoreServices& fServices;
    bool fKept;
    PCallGate* fKeptGate;
    PCore* fNextKept;
};

#endif
