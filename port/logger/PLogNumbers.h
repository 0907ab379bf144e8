// SPDX-License-Identifier: MIT
// PLogNumbers: the numbers of process and thread as they stand in a line.
#ifndef IXLAL_PLOGNUMBERS_H
#define IXLAL_PLOGNUMBERS_H

#include <string_view>

/// Every thread asks the system for its numbers once. [any thread]
class PLogNumbers
{
public:
    /// " PROCESS:THREAD " of the calling thread, which keeps it.
    static std::string_view own() noexcept;
};

#endif
