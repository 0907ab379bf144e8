// SPDX-License-Identifier: MIT
// A plugin that has a thread, a descriptor, timers and a temporary file until its service ends.
// FLAW in the environment names the one that it leaves behind.

#include "checks/Flaw.h"
#include "helpers/PPlugin.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/timerfd.h>
#include <thread>
#include <unistd.h>

namespace
{
std::string _file()
{
    return std::string(std::getenv("TMPDIR")) + "/leftover.tmp";
}

class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        fThread = std::thread([this] { work(); });
        fDescriptor = ::open("/dev/zero", O_RDONLY | O_CLOEXEC);
        fTimerDescriptor = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
        ::close(::open(_file().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, S_IRUSR));
        ::alarm(kLongSeconds);
        sigevent event = {};
        event.sigev_notify = SIGEV_THREAD;
        event.sigev_notify_function = [](sigval) {
        };
        return ::timer_create(CLOCK_MONOTONIC, &event, &fTimer);
    }

    void onExit() override
    {
        end("descriptor", [this] { ::close(fDescriptor); });
        end("timer descriptor", [this] { ::close(fTimerDescriptor); });
        end("file", [] { ::unlink(_file().c_str()); });
        end("alarm", [] { ::alarm(0); });
        end("timer", [this] { ::timer_delete(fTimer); });
        end("thread", [this] { fIsOver = true; });
        hasFlaw("thread") ? fThread.detach() : fThread.join();
    }

private:
    static constexpr unsigned int kLongSeconds = 3600;

    template <class TEnd>
    static void end(const char* iFlaw, TEnd iEnd)
    {
        if (!hasFlaw(iFlaw))
        {
            iEnd();
        }
    }

    /// Runs no code of the library when it is left behind, because that will be closed.
    void work() const
    {
        if (hasFlaw("thread"))
        {
            ::pause();
        }
        while (!fIsOver)
        {
            std::this_thread::yield();
        }
    }

    std::atomic<bool> fIsOver{false};
    std::thread fThread;
    int fDescriptor = -1;
    int fTimerDescriptor = -1;
    timer_t fTimer = nullptr;
};

class LeftoverPlugin : public PPlugin
{
public:
    LeftoverPlugin()
    {
        offer<Service>(L"test.leftover");
    }
};
} // namespace

IXLA_PLUGIN(LeftoverPlugin)
