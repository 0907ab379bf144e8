// SPDX-License-Identifier: MIT
// A plugin with a static object, whose constructor does the work that FLAW in the environment
// names. The plugin ends that work itself, so that nothing of it is left behind.

#include "checks/Flaw.h"
#include "helpers/PPlugin.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace
{
void* _wait(void* ioDescriptors)
{
    char end = 0;
    (void)!::read(static_cast<int*>(ioDescriptors)[0], &end, 1);
    return nullptr;
}

class Worker
{
public:
    Worker()
    {
        if (hasFlaw("output"))
        {
            std::puts("loaded");
        }
        if (hasFlaw("environment"))
        {
            ::setenv("CONSTRUCTOR_PLUGIN", "loaded", 1);
        }
        if (hasFlaw("signal"))
        {
            std::signal(SIGUSR1, SIG_IGN);
        }
        if (hasFlaw("file"))
        {
            fFile = ::open("/dev/zero", O_RDONLY | O_CLOEXEC);
        }
        if (hasFlaw("core"))
        {
            (void)ixlaIsInterfaceAvailable(L"test.constructor");
        }
        if (hasFlaw("thread") && ::pipe2(fEnd, O_CLOEXEC) == 0)
        {
            ::pthread_create(&fThread, nullptr, &_wait, fEnd);
        }
    }

    ~Worker()
    {
        end();
    }

    void end()
    {
        if (fFile >= 0)
        {
            ::close(fFile);
        }
        if (fEnd[1] >= 0)
        {
            ::close(fEnd[1]);
            ::pthread_join(fThread, nullptr);
            ::close(fEnd[0]);
        }
        fFile = fEnd[1] = -1;
    }

private:
    int fFile = -1;
    int fEnd[2] = {-1, -1};
    pthread_t fThread = {};
};

Worker sWorker;

class Service : public PService<IBase>
{
public:
    void onExit() override
    {
        sWorker.end();
    }
};

class ConstructorPlugin : public PPlugin
{
public:
    ConstructorPlugin()
    {
        offer<Service>(L"test.constructor");
    }
};
} // namespace

IXLA_PLUGIN(ConstructorPlugin)
