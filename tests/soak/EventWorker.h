// SPDX-License-Identifier: MIT
// EventWorker: subscribes, sends and unsubscribes.
#ifndef IXLAL_TESTS_EVENTWORKER_H
#define IXLAL_TESTS_EVENTWORKER_H

#include "soak/SoakListener.h"
#include "soak/Worker.h"

#include <vector>

/// On its own topic it checks which listeners are called, and in which order. On shared topics
/// listeners are added and removed at any time, also from within a delivery.
class EventWorker final : public Worker
{
public:
    using Worker::Worker;

protected:
    void begin() override;
    void step() override;
    void end() override;

private:
    struct Own
    {
        PBaseptr<SoakListener> listener;
        unsigned int number;
    };

    void subscribeOwn();
    void unsubscribeOwn();
    void sendOwn();
    void share();
    void sendShared();
    void subscribePlugin();
    std::wstring sharedTopic();

    std::wstring fTopic;
    std::vector<Own> fOwn;
    unsigned int fNextNumber = 0;
    std::vector<unsigned int> fTold;
};

#endif
