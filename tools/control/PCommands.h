// SPDX-License-Identifier: MIT
// PCommands: does what requests ask for.
#ifndef IXLAL_TOOLS_PCOMMANDS_H
#define IXLAL_TOOLS_PCOMMANDS_H

#include "control/PConfigCommands.h"
#include "control/PConnection.h"
#include "control/PRequestError.h"

#include <string>

/// Used by the control thread only.
class PCommands
{
public:
    PCommands(const PControlServices& iServices, const PControlSettings& iSettings);

    /// The reply to a request of a connection. A failure is a reply, too.
    std::string answer(const std::string& iLine, PConnection& ioConnection);

    /// The reply for an error.
    static std::string errorReply(const PRequestError& iError);

    /// The lines about a notice, about lines of a log, and about the end of the host.
    static std::string noticeLine(const PNotice& iNotice, const PWatches& iWatches);
    static std::string logLine(const std::string& iLog, const std::string& iText);
    static std::string stoppingLine();

private:
    PJsonObject perform(const PRequest& iRequest, PConnection& ioConnection);
    /// Passes a request about values on.
    template <auto TOperation>
    PJsonObject ofConfig(const PRequest& iRequest, PConnection& ioConnection);

    PJsonObject status(const PRequest& iRequest, PConnection& ioConnection);
    PJsonObject check(const PRequest& iRequest, PConnection& ioConnection);
    /// Of a configuration or of a topic.
    PJsonObject watch(const PRequest& iRequest, PConnection& ioConnection);
    PJsonObject setLevel(const PRequest& iRequest, PConnection& ioConnection);
    PJsonObject tail(const PRequest& iRequest, PConnection& ioConnection);
    PJsonObject sendEvent(const PRequest& iRequest, PConnection& ioConnection);

    std::string logPath(const std::string& iName) const;

    const PControlServices& fServices;
    const PControlSettings& fSettings;
    PConfigCommands fConfig;
};

#endif
