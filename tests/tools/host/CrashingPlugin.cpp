// SPDX-License-Identifier: MIT
// A plugin that ends its process in init as CRASH in the environment says.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/PluginService.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <thread>
#include <ucontext.h>
#include <unistd.h>

namespace
{
int* volatile sNull = nullptr;
volatile int sZero = 0;
constexpr std::size_t kStack = 1 << 16;
int sStackFile = -1;

void _writeToNull()
{
    *sNull = 1;
}

// The addresses keep the calls from being turned into a loop.
int _overflow(volatile int* iOuter)
{
    volatile int inner[256] = {*iOuter};
    return *iOuter < 0 ? 0 : _overflow(inner) + inner[1];
}

void _overflowHere()
{
    volatile int none = 0;
    _overflow(&none);
}

void _crashInLibrary()
{
    // The length is volatile so that the compiler calls the C library.
    static volatile std::size_t length = 4096;
    std::memset(sNull, 0, length);
}

void _askThenCrash()
{
    IBase* instance = nullptr;
    ixlaGetInstance(L"com.example.asked", instance);
    _writeToNull();
}

/// Cuts off the stack that it runs on and jumps to null, so that reading the stack ends in a fault,
/// too. No instruction in between uses the stack.
void _crashWithoutStack()
{
#if defined(__i386__)
    asm volatile("int $0x80\n\tjmp *%3" : : "a"(SYS_ftruncate), "b"(sStackFile), "c"(0), "d"(0));
#elif defined(__x86_64__)
    asm volatile("syscall\n\tjmp *%3"
                 :
                 : "a"(SYS_ftruncate), "D"(sStackFile), "S"(0L), "d"(0L)
                 : "rcx", "r11");
#endif
}

void _crashTwice()
{
    sStackFile = memfd_create("stack", 0);
    if (ftruncate(sStackFile, kStack) != 0)
    {
        std::abort();
    }
    void* const stack = mmap(nullptr, kStack, PROT_READ | PROT_WRITE, MAP_SHARED, sStackFile, 0);
    static ucontext_t context;
    getcontext(&context);
    context.uc_stack.ss_sp = stack;
    context.uc_stack.ss_size = kStack;
    makecontext(&context, &_crashWithoutStack, 0);
    setcontext(&context);
}

void _crashInTwoThreads()
{
    std::thread other(&_writeToNull);
    _writeToNull();
    other.join();
}

struct Crash
{
    void (*run)();
    const char* name;
};

const Crash sCrashes[] = {
    {&_writeToNull, "null"},
    {[] { sZero = 7 / sZero; }, "divide"},
    {[] { __builtin_trap(); }, "trap"},
    {[] { std::abort(); }, "abort"},
    {[] { std::thread([] { throw 1; }).join(); }, "throw"},
    {&_overflowHere, "overflow"},
    {&_crashInLibrary, "library"},
    {&_askThenCrash, "asked"},
    {[] { std::thread(&_writeToNull).join(); }, "thread"},
    {&_crashInTwoThreads, "two threads"},
    {&_crashTwice, "twice"},
    {[] { reinterpret_cast<void (*)()>(sNull)(); }, "call of null"},
};

void _crash(const std::string& iName)
{
    for (const Crash& crash : sCrashes)
    {
        if (iName == crash.name)
        {
            crash.run();
        }
    }
}

std::string _wanted()
{
    const char* const wanted = std::getenv("CRASH");
    return wanted ? wanted : "";
}

class CrashingPlugin final : public PluginService
{
public:
    using PluginService::PluginService;

    int init() override
    {
        if (_wanted() == "wait")
        {
            std::puts("waits");
            std::fflush(stdout);
            for (;;)
            {
                pause();
            }
        }
        _crash(_wanted());
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    if (_wanted() == "factory")
    {
        _writeToNull();
    }
    return new CrashingPlugin({L"test.crashing"});
}
