// SPDX-License-Identifier: MIT
// PNotifySocket: how a service manager hears what its service is doing.
#ifndef IXLAL_TOOLS_PNOTIFYSOCKET_H
#define IXLAL_TOOLS_PNOTIFYSOCKET_H

#include <string_view>

struct PNotifySocket
{
    /// Sends iState, such as "READY=1", to the socket that NOTIFY_SOCKET names; does nothing
    /// without one. Returns 0 or the errno of what failed. [any thread]
    static int send(std::string_view iState);
};

#endif
