// SPDX-License-Identifier: MIT
#include "host/PCrashReport.h"

#include "host/PRequestTrace.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <ucontext.h>
#include <unistd.h>

namespace
{
constexpr off_t kLogTail = 1 << 20;            // bytes of the log that are read at most
constexpr std::size_t kLogBlock = 8192;        // longer lines are skipped
constexpr std::uintptr_t kStackScan = 1 << 18; // bytes of the stack that are read at most
constexpr std::size_t kMaxRegions = 2048;

struct Code
{
    std::uintptr_t begin;
    std::uintptr_t end;
    std::uintptr_t base;
    const char* name;
};

char sLogBlock[kLogBlock];
Code sPlugins[kMaxRegions];
std::size_t sPluginCount = 0;

/// Where a thread was when the signal came; zeros for a machine that is not known.
struct Place
{
    std::uintptr_t instruction;
    std::uintptr_t stack;
};

Place _placeOf([[maybe_unused]] const void* iMachine)
{
    [[maybe_unused]] const mcontext_t& machine =
        static_cast<const ucontext_t*>(iMachine)->uc_mcontext;
#if defined(__i386__)
    return {static_cast<std::uintptr_t>(machine.gregs[REG_EIP]),
            static_cast<std::uintptr_t>(machine.gregs[REG_ESP])};
#elif defined(__x86_64__)
    return {static_cast<std::uintptr_t>(machine.gregs[REG_RIP]),
            static_cast<std::uintptr_t>(machine.gregs[REG_RSP])};
#elif defined(__arm__)
    return {machine.arm_pc, machine.arm_sp};
#else
    return {};
#endif
}

void _addPlace(PSafeText& ioLine, std::string_view iName, std::uintptr_t iOffset)
{
    ioLine.add(iName).add("+").addHex(iOffset);
}

/// The name of a plugin's library in the table; null for another file.
const char* _pluginName(const PPluginTable& iPlugins, std::string_view iFile)
{
    for (std::size_t i = 0; i < iPlugins.count(); ++i)
    {
        if (iFile == iPlugins.at(i).name)
        {
            return iPlugins.at(i).name;
        }
    }
    return iFile == iPlugins.loading() ? iPlugins.loading() : nullptr;
}
} // namespace

PCrashReport::PCrashReport(PCrashContext& ioContext, const siginfo_t& iInfo, const void* iMachine)
    : fContext(ioContext),
      fInfo(iInfo),
      fThread(gettid()),
      fAddress(_placeOf(iMachine).instruction),
      fStack(_placeOf(iMachine).stack),
      fLog(ioContext.isLogFile ? open(ioContext.log.c_str(),
                                      O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)
                               : -1)
{
}

void PCrashReport::write()
{
    readLog();
    writeSignal();
    writeInit();
    writeRequest();
    writeStack();
}

void PCrashReport::writeSignal()
{
    PSafeText line;
    line.add("SIG").add(sigabbrev_np(fInfo.si_signo));
    if (fInfo.si_code <= 0)
    {
        line.add(", sent by process ").addNumber(fInfo.si_pid);
    }
    else
    {
        line.add(", address ").addHex(reinterpret_cast<std::uintptr_t>(fInfo.si_addr));
    }
    line.add(", thread ").addNumber(fThread).add(", in ");
    PMemoryMap map;
    PMemoryMap::Region region;
    while (map.next(region))
    {
        if (region.contains(fAddress))
        {
            fIsInPlugin = _pluginName(fContext.plugins, region.name) != nullptr;
            _addPlace(line, region.name, fAddress - region.base);
            writeLine(line);
            return;
        }
    }
    line.add("no library, at ").addHex(fAddress);
    writeLine(line);
}

// The follower has read the log during the start; lines are read again, because it may be late, and
// the plugins that are initialised later are in the log only.
void PCrashReport::readLog()
{
    const PFileDescriptor file(
        open(fContext.log.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
    {
        return;
    }
    const off_t begin = fContext.logBegin <= status.st_size ? fContext.logBegin : 0;
    if (lseek(file.get(), std::max(begin, status.st_size - kLogTail), SEEK_SET) >= 0)
    {
        readLines(file.get());
    }
}

void PCrashReport::readLines(int iFile)
{
    std::size_t filled = 0;
    ssize_t count = 0;
    while ((count = read(iFile, sLogBlock + filled, sizeof sLogBlock - filled)) > 0)
    {
        filled += static_cast<std::size_t>(count);
        const char* line = sLogBlock;
        const char* const end = sLogBlock + filled;
        for (const char* stop = nullptr; (stop = std::find(line, end, '\n')) != end;
             line = stop + 1)
        {
            PLogEntry entry;
            if (entry.read({line, static_cast<std::size_t>(stop - line)}) &&
                entry.process == getpid())
            {
                fContext.plugins.add(entry);
            }
        }
        // A line that fills the block is dropped.
        const bool isFull = line == sLogBlock && filled == sizeof sLogBlock;
        filled = isFull ? 0 : static_cast<std::size_t>(end - line);
        std::memmove(sLogBlock, line, filled);
    }
}

void PCrashReport::writeInit()
{
    const PPluginTable& plugins = fContext.plugins;
    PSafeText line;
    const PPluginTable::Plugin* plugin = plugins.initialising(fThread);
    plugin = plugin ? plugin : plugins.initialising(0);
    if (plugin)
    {
        line.add("being initialised: ").add(plugin->name).add(" since ").add(plugin->since);
        line.add(", thread ").addNumber(plugin->thread);
    }
    else if (*plugins.loading())
    {
        line.add("being loaded: ").add(plugins.loading()).add(" since ");
        line.add(plugins.loadingSince());
    }
    else
    {
        line.add("being initialised: no plugin, as far as the core log shows");
    }
    writeLine(line);
}

void PCrashReport::writeRequest()
{
    const PRequestTrace& request = PRequestTrace::ofThread();
    PSafeText line;
    line.add("last interface that this thread asked for: ");
    if (request.length() == 0)
    {
        line.add("none");
    }
    else
    {
        line.addWide(request.id(), request.length());
        line.add(request.hasReturned() ? "" : ", not returned yet");
    }
    writeLine(line);
}

/// For a fault in another library, finds the plugin that has called it.
void PCrashReport::writeStack()
{
    if (fIsInPlugin || !findPlugins())
    {
        return;
    }
    PMemoryMap map;
    PMemoryMap::Region region;
    while (map.next(region))
    {
        if (region.contains(fStack) && region.isReadable)
        {
            const std::uintptr_t size = region.end - fStack;
            scan(fStack, fStack + std::min(size, kStackScan));
            return;
        }
    }
}

/// Fills the table of the plugins' code. Returns whether there is any.
bool PCrashReport::findPlugins() const
{
    PMemoryMap map;
    PMemoryMap::Region region;
    while (sPluginCount < kMaxRegions && map.next(region))
    {
        const char* const name =
            region.isExecutable ? _pluginName(fContext.plugins, region.name) : nullptr;
        if (name)
        {
            sPlugins[sPluginCount++] = {region.begin, region.end, region.base, name};
        }
    }
    return sPluginCount > 0;
}

/// Reports the first word that is an address in a plugin's code.
void PCrashReport::scan(std::uintptr_t iBegin, std::uintptr_t iEnd)
{
    const Code* const begin = sPlugins;
    const Code* const end = begin + sPluginCount;
    for (std::uintptr_t at = iBegin & ~(sizeof at - 1); at + sizeof at <= iEnd; at += sizeof at)
    {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address of the stack of this thread
        const std::uintptr_t word = *reinterpret_cast<const std::uintptr_t*>(at);
        const Code* const found = std::find_if(begin, end,
                                               [word](const Code& iCode)
                                               { return word >= iCode.begin && word < iCode.end; });
        if (found != end)
        {
            PSafeText line;
            line.add("nearest address of a plugin on the stack: ");
            _addPlace(line, found->name, word - found->base);
            writeLine(line);
            return;
        }
    }
}

void PCrashReport::writeLine(const PSafeText& iText)
{
    PSafeText line;
    line.add("ixla-host: fatal: ").add(iText.text()).writeLine(STDERR_FILENO);
    if (fLog)
    {
        PSafeText entry;
        addTime(entry);
        entry.add(" ").addNumber(getpid()).add(":").addNumber(fThread);
        entry.add(" E Core [ixla-host] Fatal: ").add(iText.text()).writeLine(fLog.get());
    }
}

void PCrashReport::addTime(PSafeText& ioLine) const
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::chrono::seconds local(now.tv_sec + fContext.secondsEastOfUtc);
    const std::chrono::days date = std::chrono::floor<std::chrono::days>(local);
    const std::chrono::year_month_day day{std::chrono::sys_days(date)};
    const std::chrono::hh_mm_ss<std::chrono::seconds> time(local - date);
    const auto add = [&ioLine](auto iNumber, int iDigits, const char* iEnd)
    {
        ioLine.addDigits(static_cast<unsigned int>(iNumber), iDigits).add(iEnd);
    };
    add(static_cast<int>(day.year()), 4, "-");
    add(static_cast<unsigned int>(day.month()), 2, "-");
    add(static_cast<unsigned int>(day.day()), 2, " ");
    add(time.hours().count(), 2, ":");
    add(time.minutes().count(), 2, ":");
    add(time.seconds().count(), 2, ".");
    add(now.tv_nsec / 1000000, 3, "");
}
