// SPDX-License-Identifier: MIT
// SetWorker: sets and removes run-time values and listens to their changes.
#ifndef IXLAL_TESTS_SETWORKER_H
#define IXLAL_TESTS_SETWORKER_H

#include "soak/SoakListener.h"
#include "soak/Worker.h"

#include <string>

/// For its own ID it checks every value and every event; for the shared ID it checks that values
/// and events are possible ones.
class SetWorker final : public Worker
{
public:
    using Worker::Worker;

protected:
    void begin() override;
    void step() override;
    void end() override;

private:
    void listen();
    void unlisten();
    void note(IBase* iParam);
    void setOwn();
    void setOwnAttribute();
    void removeOwn();
    void setShared();

    std::wstring fId;
    std::wstring fTopic;
    PBaseptr<IConfig> fConfig;
    PBaseptr<SoakListener> fListener;
    bool fIsSet = false;
    std::wstring fText;
    unsigned int fCount = 0;
    std::wstring fHeard;
};

#endif
