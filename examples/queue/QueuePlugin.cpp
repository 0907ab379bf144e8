// SPDX-License-Identifier: MIT
#include "IQueue.h"

#include "helpers/PKeyedConfig.h"
#include "helpers/PPlugin.h"
#include "helpers/PWorker.h"

#include <cerrno>
#include <chrono>
#include <mutex>

namespace
{
IXLA_CONFIG(QueueConfig, "com.example.queue",
            IXLA_KEY_UINT32(limit, "limit", 100, 1, 10000, "jobs", "run-time",
                            "jobs that may wait"),
            IXLA_KEY_UINT32(pause, "pause", 0, 0, 60000, "ms", "run-time", "time between two jobs"))

class Queue : public PService<IQueue>
{
public:
    int onInit() override
    {
        fConfig.limit.onChange([this](unsigned int iLimit)
                               { IXLA_LOG(info, fLog, 0, "up to %u jobs may wait", iLimit); });
        return ixlaInOrder(fEvents, ixlaNamedLog(L"queue.log", fLog), ixlaLoad(fConfig))
            .logged(L"queue");
    }

    int add(IJob* iJob) override
    {
        return iJob ? ixlaGuarded([&] { return post(PBaseptr<IJob>(iJob)); })
                    : eIxlaInvalidArgument;
    }

private:
    int post(const PBaseptr<IJob>& iJob)
    {
        const std::lock_guard<std::mutex> lock(fMutex); // for an exact limit
        if (fWorker.queued() >= fConfig.limit.get())
        {
            IXLA_LOG_EVERY(std::chrono::seconds(10), error, fLog, 0, "full: a job was refused");
            return -ENOBUFS;
        }
        return fWorker.post([this, iJob] { run(*iJob); });
    }

    void run(IJob& ioJob)
    {
        const int result = ioJob.run();
        IXLA_LOG(info, fLog, 0, "job %u: %d", ++fDone, result);
        (void)fEvents->send(kJobDoneTopic, &ioJob, result); // no listener is no error
        fWorker.sleep(std::chrono::milliseconds(fConfig.pause.get()));
    }

    PBaseptr<IEventDispatcher> fEvents;
    PBaseptr<ILogger> fLog;
    QueueConfig fConfig;
    unsigned int fDone = 0; // used by the worker
    std::mutex fMutex;
    PWorker fWorker{*this, L"queue"};
};
} // namespace

IXLA_SERVICE_PLUGIN(Queue, kQueueId)
