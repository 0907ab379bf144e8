// SPDX-License-Identifier: MIT
// PNotifySocket: notifies a service manager of the state of its service.
#ifndef IXLAL_TOOLS_PNOTIFYSOCKET_H
#define IXLAL_TOOLS_PNOTIFYSOCKET_H

#include <string_view>

struct PNotifySocket
{
    /// Whether there is a service manager. [any thread]
    static bool isSet();

    /// Sends iState, such as "READY=1", to the socket that NOTIFY_SOCKET names; does nothing
    /// without one. Returns 0 or the errno of the failed call. [any thread]
    static int send(std::string_view iState);
};

#endif
