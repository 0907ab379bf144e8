// SPDX-License-Identifier: MIT
// LookupWorker: looks up interfaces, and unloads plugins during lookups of other threads.
#ifndef IXLAL_TESTS_LOOKUPWORKER_H
#define IXLAL_TESTS_LOOKUPWORKER_H

#include "soak/Worker.h"

/// Other workers do not look up the plugins that it unloads. The next start of the core loads them
/// again.
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
