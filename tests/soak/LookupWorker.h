// SPDX-License-Identifier: MIT
// LookupWorker: asks for interfaces, and unloads plugins while others ask.
#ifndef IXLAL_TESTS_LOOKUPWORKER_H
#define IXLAL_TESTS_LOOKUPWORKER_H

#include "soak/Worker.h"

/// Nobody else asks for the plugins that it unloads. They are loaded again by the core's next
/// start.
class LookupWorker final : public Worker
{
public:
    using Worker::Worker;

protected:
    void begin() override;
    void step() override;
    void end() override;

private:
    void lookUp();
    void lookUpUnknown();
    void unloadNext();

    std::size_t fUnloaded = 0;
};

#endif
