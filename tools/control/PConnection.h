// SPDX-License-Identifier: MIT
// PConnection: the connection to one client.
#ifndef IXLAL_TOOLS_PCONNECTION_H
#define IXLAL_TOOLS_PCONNECTION_H

#include "control/PControlSettings.h"
#include "control/PWatches.h"
#include "shared/PFileDescriptor.h"

#include <chrono>
#include <string>

/// Splits what arrives into lines, and holds lines until the client reads them. Never waits for the
/// client. Both directions have a limit; a client that exceeds that of the lines for it is broken.
/// Used by the control thread only.
class PConnection
{
public:
    typedef std::chrono::steady_clock Clock;

    /// iDescriptor does not block. iSettings outlives the connection.
    PConnection(PFileDescriptor iDescriptor, const PControlSettings& iSettings,
                const std::shared_ptr<PWakeUp>& iWakeUp);

    int descriptor() const noexcept;
    PWatches& watches() noexcept;

    /// Reads what has arrived.
    void receive();

    /// Takes the next complete line. Throws PRequestError for a line that is too long, and when
    /// lines arrive too fast.
    bool takeLine(std::string& oLine);

    /// Queues a line for the client and sends what the client accepts at once.
    void send(const std::string& iLine);

    /// Sends what the client accepts.
    void flush();

    /// No more lines are taken; the connection ends when everything was sent.
    void finish() noexcept;

    bool hasOutput() const noexcept;

    /// Bytes that wait for the client.
    std::size_t outputSize() const noexcept;

    /// Whether to read.
    bool wantsInput() const noexcept;

    /// Whether the connection is to be closed.
    bool isOver(Clock::time_point iNow) const;

private:
    void spendToken();
    void writeOutput();

    const PFileDescriptor fDescriptor;
    const PControlSettings& fSettings;
    std::string fInput;
    std::string fOutput;
    std::size_t fSent = 0; ///< bytes of fOutput
    Clock::time_point fProgress;
    double fTokens;
    Clock::time_point fRefilled;
    bool fFinishing = false;
    bool fBroken = false;
    PWatches fWatches;
};

#endif
