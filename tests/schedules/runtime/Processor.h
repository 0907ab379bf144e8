// SPDX-License-Identifier: MIT
// Processor: keeps the process on one processor, where handing over the baton is fastest.
#ifndef IXLAL_SCHEDULES_PROCESSOR_H
#define IXLAL_SCHEDULES_PROCESSOR_H

namespace schedules
{
class Processor
{
public:
    /// Takes the one of this number, from 0, of those that the process may use; the numbers start
    /// again after the last one. Does nothing if the system refuses.
    static void use(unsigned iNumber);

    /// Stays on the one that the caller runs on.
    static void useCurrent();
};
} // namespace schedules

#endif
