// SPDX-License-Identifier: MIT
#include "logging/LogCase.h"

#include "logger/PLogger.h"
#include "support/BenchDir.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <fstream>
#include <mutex>
#include <regex>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace
{
/// The length of the formatted text before its last argument: "request 000000 took 12 ms: ".
constexpr int kFrame = 27;
constexpr int kMilliseconds = 12;
constexpr unsigned int kNumbers = 1000000; ///< for six digits

std::string _filling(int iSize)
{
    return std::string(static_cast<std::size_t>(iSize - kFrame), 'x');
}

/// Ends the process unless the file consists of the line for number 7.
void _check(const std::string& iPath, const std::string& iFilling)
{
    std::ifstream file(iPath);
    const std::string all((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::regex header(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (\d+):(\d+) I bench )");
    const std::string text = "request 000007 took 12 ms: " + iFilling + '\n';
    std::smatch match;
    const std::string front = all.substr(0, all.size() - std::min(all.size(), text.size()));
    if (!all.ends_with(text) || !std::regex_match(front, match, header) ||
        match[1] != std::to_string(::getpid()) || match[2] != std::to_string(::gettid()))
    {
        std::fprintf(stderr, "Not the expected line: %s\n", all.c_str());
        std::exit(1);
    }
}

/// A log for any number of threads. The text is formatted in wide characters and encoded without a
/// lock; the time is read and the line is written under the lock, so that the times ascend. It has
/// no limits and no rotation, escapes only line ends, and only reports failures.
class FloorLog
{
public:
    explicit FloorLog(const std::string& iPath)
        : fHandle(::open(iPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644)),
          fProcess(::getpid())
    {
    }

    ~FloorLog()
    {
        ::close(fHandle);
    }

    FloorLog(const FloorLog&) = delete;
    FloorLog& operator=(const FloorLog&) = delete;

    bool info(const wchar_t* iFormat, ...)
    {
        wchar_t text[1025];
        va_list args;
        va_start(args, iFormat);
        const int length = std::vswprintf(text, 1025, iFormat, args);
        va_end(args);
        if (length < 0)
        {
            return false;
        }
        char line[kHeader + 1025 * 4];
        char* end = putNumbers(line + kTime);
        end = _encode(text, text + length, end);
        *end++ = '\n';
        const auto size = static_cast<std::size_t>(end - line);
        const std::lock_guard lock(fMutex);
        nl_putTime(line);
        return ::write(fHandle, line, size) == static_cast<ssize_t>(size);
    }

private:
    static constexpr int kSeconds = 20; ///< including the point
    static constexpr int kTime = 24;    ///< including the blank
    static constexpr int kHeader = 64;

    void nl_putTime(char* oLine)
    {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME, &now);
        if (now.tv_sec != fSecond)
        {
            std::tm parts{};
            ::localtime_r(&now.tv_sec, &parts);
            std::strftime(fTime, sizeof fTime, "%Y-%m-%d %H:%M:%S.", &parts);
            fSecond = now.tv_sec;
        }
        std::memcpy(oLine, fTime, kSeconds);
        const long rest = now.tv_nsec / 1000000;
        oLine[kSeconds] = static_cast<char>('0' + rest / 100);
        oLine[kSeconds + 1] = static_cast<char>('0' + rest / 10 % 10);
        oLine[kSeconds + 2] = static_cast<char>('0' + rest % 10);
        oLine[kSeconds + 3] = ' ';
    }

    /// Process, thread, kind and tag. Composed once per thread.
    char* putNumbers(char* oBytes) const
    {
        static thread_local char sNumbers[32];
        static thread_local std::size_t sSize = 0;
        if (sSize == 0)
        {
            sSize = static_cast<std::size_t>(
                std::snprintf(sNumbers, sizeof sNumbers, "%d:%d I bench ",
                              static_cast<int>(fProcess), static_cast<int>(::gettid())));
        }
        std::memcpy(oBytes, sNumbers, sSize);
        return oBytes + sSize;
    }

    static char* _encode(const wchar_t* iBegin, const wchar_t* iEnd, char* oBytes)
    {
        while (iBegin != iEnd)
        {
            const std::size_t plain = _copyPlain(iBegin, iEnd, oBytes);
            iBegin += plain;
            oBytes += plain;
            if (iBegin != iEnd)
            {
                oBytes = _encodeOther(static_cast<unsigned int>(*iBegin++), oBytes);
            }
        }
        return oBytes;
    }

    /// Copies printable ASCII characters, four at a time.
    static std::size_t _copyPlain(const wchar_t* iBegin, const wchar_t* iEnd, char* oBytes)
    {
        const auto size = static_cast<std::size_t>(iEnd - iBegin);
        std::size_t done = 0;
        for (; done + 4 <= size; done += 4)
        {
            const auto first = static_cast<std::uint32_t>(iBegin[done]);
            const auto second = static_cast<std::uint32_t>(iBegin[done + 1]);
            const auto third = static_cast<std::uint32_t>(iBegin[done + 2]);
            const auto fourth = static_cast<std::uint32_t>(iBegin[done + 3]);
            const std::uint32_t all = first | second << 8 | third << 16 | fourth << 24;
            if ((first | second | third | fourth) >= 0x80 || ((all - 0x20202020u) & 0x80808080u))
            {
                break;
            }
            std::memcpy(oBytes + done, &all, sizeof all);
        }
        for (; done < size && static_cast<std::uint32_t>(iBegin[done]) - 0x20 < 0x60; ++done)
        {
            oBytes[done] = static_cast<char>(iBegin[done]);
        }
        return done;
    }

    static char* _encodeOther(unsigned int iChar, char* oBytes)
    {
        if (iChar == '\n' || iChar == '\r' || iChar == 0)
        {
            *oBytes++ = '\\';
            *oBytes++ = iChar == 0 ? '0' : iChar == '\n' ? 'n' : 'r';
            return oBytes;
        }
        const int more = iChar < 0x80 ? 0 : iChar < 0x800 ? 1 : iChar < 0x10000 ? 2 : 3;
        constexpr unsigned int kLead[] = {0, 0xC0, 0xE0, 0xF0};
        *oBytes++ = static_cast<char>(kLead[more] | iChar >> (6 * more));
        for (int left = more - 1; left >= 0; --left)
        {
            *oBytes++ = static_cast<char>(0x80u | (iChar >> (6 * left) & 0x3Fu));
        }
        return oBytes;
    }

    const int fHandle;
    const pid_t fProcess;
    std::mutex fMutex;
    std::time_t fSecond = -1;
    char fTime[kSeconds + 1] = {};
};

/// The common part of the contestants: TLog writes a line with number and filling.
template <class TLog, BenchDir::EPlace tPlace>
class LogWork
{
public:
    explicit LogWork(int iSize) : fDir(tPlace), fLog(fDir.file("bench.log"), _filling(iSize))
    {
        turn(7);
        _check(fDir.file("bench.log"), _filling(iSize));
    }

    bool turn(unsigned int iTurn)
    {
        return fLog.write(iTurn % kNumbers);
    }

private:
    BenchDir fDir;
    TLog fLog;
};

class Floor
{
public:
    Floor(const std::string& iPath, const std::string& iFilling)
        : fLog(iPath), fFilling(iFilling.begin(), iFilling.end())
    {
    }

    bool write(unsigned int iNumber)
    {
        return fLog.info(L"request %06u took %d ms: %ls", iNumber, kMilliseconds, fFilling.c_str());
    }

private:
    FloorLog fLog;
    const std::wstring fFilling;
};

class Ours
{
public:
    Ours(const std::string& iPath, const std::string& iFilling)
        : fFilling(iFilling.begin(), iFilling.end())
    {
        const std::wstring path(iPath.begin(), iPath.end());
        static_cast<void>(fLog.init(path.c_str(), L"bench", true, 0, 0, 0, true));
    }

    bool write(unsigned int iNumber)
    {
        return PLogger::info(&fLog, 0, L"request %06u took %d ms: %ls", iNumber, kMilliseconds,
                             fFilling.c_str()) == 0;
    }

private:
    PLogger fLog;
    const std::wstring fFilling;
};

/// The same line from a narrow text, which needs no encoding, in a format that the compiler checks.
/// The process number is constant text in the pattern, because its flag would ask the system for
/// each line. Each line reaches the file at once, as ours does: the stream has no buffer, which
/// takes less time than a flush after each line. Prints failures.
class Spdlog
{
public:
    Spdlog(const std::string& iPath, const std::string& iFilling)
        : fLog("bench",
               std::make_shared<spdlog::sinks::basic_file_sink_mt>(iPath, false, _events())),
          fFilling(iFilling)
    {
        fLog.set_pattern("%Y-%m-%d %T.%e " + std::to_string(::getpid()) + ":%t %L %n %v");
    }

    bool write(unsigned int iNumber)
    {
        fLog.info("request {:06} took {} ms: {}", iNumber, kMilliseconds, fFilling);
        return true;
    }

private:
    static spdlog::file_event_handlers _events()
    {
        spdlog::file_event_handlers events;
        events.after_open = [](const spdlog::filename_t&, std::FILE* iFile)
        {
            static_cast<void>(std::setvbuf(iFile, nullptr, _IONBF, 0));
        };
        return events;
    }

    spdlog::logger fLog;
    const std::string fFilling;
};

template <BenchDir::EPlace tPlace>
void _enter(Contest& ioContest, const std::string& iName)
{
    Case written{iName, {40, 200, 1000}, 500};
    written.twoThreads = true;
    written.countTurns = 512;
    ioContest.enter<LogWork<Floor, tPlace>>(written, "floor");
    ioContest.enter<LogWork<Ours, tPlace>>(written, "ours");
    ioContest.enter<LogWork<Spdlog, tPlace>>(written, "spdlog");
}
} // namespace

void enterLog(Contest& ioContest)
{
    _enter<BenchDir::eMemory>(ioContest, "log line");
    _enter<BenchDir::eDisk>(ioContest, "log line on disk");
}
