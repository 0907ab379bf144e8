// SPDX-License-Identifier: MIT
#include "logging/FilteredCase.h"

#include "ILogger.h"
#include "Ixla.h"
#include "logger/PLogger.h"
#include "support/BenchDir.h"
#include "support/CoreHost.h"

#include <atomic>
#include <memory>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>

namespace
{
constexpr int kLevel = 1; ///< of the lines; the logs write those of level 0

/// Makes the compiler forget what it knows about a log. Generates no instruction.
template <class T>
T* _hidden(T* iPointer)
{
    asm volatile("" : "+r"(iPointer));
    return iPointer;
}

/// A level check at the call.
class FloorLog
{
public:
    int info(int iLevel, const wchar_t* iFormat, unsigned int iNumber, const wchar_t* iText)
    {
        return iLevel <= fLevel.load(std::memory_order_relaxed) ? write(iFormat, iNumber, iText)
                                                                : 0;
    }

private:
    [[gnu::noinline]] int write(const wchar_t*, unsigned int, const wchar_t*)
    {
        return 1;
    }

    std::atomic<int> fLevel{0};
};

class FloorFiltered
{
public:
    explicit FloorFiltered(int)
    {
    }

    bool turn(unsigned int iTurn)
    {
        return _hidden(&fLog)->info(kLevel, L"request %u: %ls", iTurn, L"text") == 0;
    }

private:
    FloorLog fLog;
};

class FloorNull
{
public:
    explicit FloorNull(int)
    {
    }

    bool turn(unsigned int iTurn)
    {
        FloorLog* const log = _hidden(fLog);
        return !log || log->info(kLevel, L"request %u: %ls", iTurn, L"text") == 0;
    }

private:
    FloorLog* fLog = nullptr;
};

/// A level check after a virtual call.
class FloorService
{
public:
    virtual ~FloorService() = default;

    virtual int info(int iLevel, const wchar_t*, ...)
    {
        return iLevel <= fLevel.load(std::memory_order_relaxed) ? 1 : 0;
    }

private:
    std::atomic<int> fLevel{0};
};

class FloorFilteredService
{
public:
    explicit FloorFilteredService(int)
    {
    }

    bool turn(unsigned int iTurn)
    {
        return _hidden(&fLog)->info(kLevel, L"request %u: %ls", iTurn, L"text") == 0;
    }

private:
    FloorService fLog;
};

class OurFile
{
public:
    OurFile() : fDir(BenchDir::eMemory)
    {
        const std::wstring path = (fDir.path() / "bench.log").wstring();
        static_cast<void>(fLog.init(path.c_str(), L"bench", true, 0, 0, 0, true));
    }

    PLogger* log()
    {
        return _hidden(&fLog);
    }

private:
    BenchDir fDir;
    PLogger fLog;
};

class OurFiltered
{
public:
    explicit OurFiltered(int)
    {
    }

    bool turn(unsigned int iTurn)
    {
        return PLogger::info(fFile.log(), kLevel, L"request %u: %ls", iTurn, L"text") == 0;
    }

private:
    OurFile fFile;
};

/// A line without arguments calls the variadic form, which compilers do not inline.
class OurFilteredPlain
{
public:
    explicit OurFilteredPlain(int)
    {
    }

    bool turn(unsigned int)
    {
        return PLogger::info(fFile.log(), kLevel, L"request") == 0;
    }

private:
    OurFile fFile;
};

class OurNull
{
public:
    explicit OurNull(int)
    {
    }

    bool turn(unsigned int iTurn)
    {
        return PLogger::info(_hidden(fLog), kLevel, L"request %u: %ls", iTurn, L"text") == 0;
    }

private:
    PLogger* fLog = nullptr;
};

/// The plugins' log of a running core.
class OurFilteredService
{
public:
    explicit OurFilteredService(int)
    {
        HostSetup setup;
        setup.pluginLog = true;
        CoreHost::need(setup);
        fLog = CoreHost::get<ILogger>(kIxlaLoggerId);
    }

    bool turn(unsigned int iTurn)
    {
        return fLog->info(kLevel, L"request %u: %ls", iTurn, L"text") == 0;
    }

private:
    ILogger* fLog;
};

/// The same line as for PLogger.
class SpdlogFiltered
{
public:
    explicit SpdlogFiltered(int)
        : fDir(BenchDir::eMemory),
          fLog("bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(fDir.file("bench.log")))
    {
        fLog.set_level(spdlog::level::info);
    }

    bool turn(unsigned int iTurn)
    {
        _hidden(&fLog)->debug("request {}: {}", iTurn, "text");
        return true;
    }

private:
    BenchDir fDir;
    spdlog::logger fLog;
};

Case _case(const std::string& iName)
{
    Case filtered{iName, {1}, 20000};
    filtered.twoThreads = true;
    filtered.countTurns = 4096;
    return filtered;
}
} // namespace

void enterFiltered(Contest& ioContest)
{
    const Case filtered = _case("filtered line");
    ioContest.enter<FloorFiltered>(filtered, "floor");
    ioContest.enter<OurFiltered>(filtered, "ours");
    ioContest.enter<SpdlogFiltered>(filtered, "spdlog");

    const Case plain = _case("filtered line without arguments");
    ioContest.enter<FloorFiltered>(plain, "floor");
    ioContest.enter<OurFilteredPlain>(plain, "ours");

    const Case service = _case("filtered line of the service");
    ioContest.enter<FloorFilteredService>(service, "floor");
    ioContest.enter<OurFilteredService>(service, "ours");

    const Case null = _case("filtered line, null logger");
    ioContest.enter<FloorNull>(null, "floor");
    ioContest.enter<OurNull>(null, "ours");
}
