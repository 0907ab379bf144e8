// SPDX-License-Identifier: MIT
// PServiceLog: the core's log, for the built-in services.
#ifndef IXLAL_PSERVICELOG_H
#define IXLAL_PSERVICELOG_H

/// Writes a line of kind E to the log of the running core. For a service that has no logger yet, or
/// whose failure prevents the start of the logging service. Does nothing without a core or its log.
/// Never waits for the core. [any thread, also with a service's lock held]
void logServiceError(const wchar_t* iFormat, ...) noexcept;

#endif
