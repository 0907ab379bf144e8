// SPDX-License-Identifier: MIT
// PLogNumbers: the process and thread numbers of a line.
#ifndef IXLAL_PLOGNUMBERS_H
#define IXLAL_PLOGNUMBERS_H

#include <string_view>

/// Each thread asks the system for its numbers only once. [any thread]
class PLogNumbers
{
public:
    /// " PROCESS:THREAD " of the calling thread; valid until the thread ends.
    static std::string_view own() noexcept;
};

#endif
