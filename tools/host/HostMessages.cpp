// SPDX-License-Identifier: MIT
#include "host/HostMessages.h"

#include "host/PNotifySocket.h"

#include <iostream>
#include <system_error>

void complain(const std::string& iText)
{
    std::cerr << "ixla-host: " << iText << std::endl;
}

std::string systemText(int iError)
{
    return std::generic_category().message(iError);
}

void notifyManager(const std::string& iState)
{
    if (const int error = PNotifySocket::send(iState))
    {
        complain("cannot send " + iState.substr(0, iState.find('\n')) +
                 " to NOTIFY_SOCKET: " + systemText(error));
    }
}
