// SPDX-License-Identifier: MIT
/// @file
/// The messages of the host to its user and to the service manager.
#ifndef IXLAL_TOOLS_HOSTMESSAGES_H
#define IXLAL_TOOLS_HOSTMESSAGES_H

#include <string>

/// Prints a line on the standard error stream. [any thread]
void complain(const std::string& iText);

/// The text of an errno.
std::string systemText(int iError);

/// Sends iState, such as "READY=1", to the service manager; a failure is one line. [any thread]
void notifyManager(const std::string& iState);

#endif
