// SPDX-License-Identifier: MIT
// A client of the queue: adds a job when it starts.
#include "IQueue.h"

#include "helpers/PPlugin.h"
#include "helpers/PSubscription.h"

namespace
{
class Job : public PCounted<IJob>
{
    int run() override
    {
        return eIxlaOk; // the work is done here
    }
};

class Client : public PService<IBase>
{
public:
    int onInit() override
    {
        const auto job = PBaseptr<IJob>::adopt(new Job);
        return ixlaInOrder(fLog, ixlaNeed(kQueueId, fQueue),
                           ixlaSubscribe(fDone, kJobDoneTopic,
                                         [this](const PLiteral&, IBase*, int iResult)
                                         { IXLA_LOG(info, fLog, 0, "job done: %d", iResult); }),
                           ixlaStep(L"job", [&] { return fQueue->add(job.get()); }))
            .logged(L"client");
    }

private:
    PBaseptr<ILogger> fLog;
    PBaseptr<IQueue> fQueue;
    PSubscription fDone; // last, so that it ends before the members it uses
};
} // namespace

IXLA_SERVICE_PLUGIN(Client, L"com.example.queue.client")
