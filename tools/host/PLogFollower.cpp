// SPDX-License-Identifier: MIT
#include "host/PLogFollower.h"

#include <charconv>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr std::size_t kBlock = 16384;
constexpr unsigned int kMaxParts = 1000;
// At the beginning of every log with more than errors.
constexpr std::string_view kFirstText = "[startFlow] Logger initialized.";
// Every healthy stop has this line.
constexpr std::string_view kUsualError = "[stopFlow] Failed to get core.notify.exit.timeout";

std::string _partName(const std::string& iPath, unsigned int iPart)
{
    return iPath + "." + std::to_string(iPart);
}

bool _isSame(const struct stat& iOne, const struct stat& iOther)
{
    return iOne.st_dev == iOther.st_dev && iOne.st_ino == iOther.st_ino;
}

int _number(std::string_view iText)
{
    int number = 0;
    std::from_chars(iText.data(), iText.data() + iText.size(), number);
    return number;
}
} // namespace

PLogFollower::PLogFollower(std::string iPath, PPluginTable& ioPlugins)
    : fPath(std::move(iPath)), fPlugins(ioPlugins), fFile(-1)
{
    if (!fPath.empty())
    {
        open(fPath);
        fOffset = fFile ? fIdentity.st_size : 0;
        fBegin = fOffset;
    }
}

off_t PLogFollower::begin() const
{
    return fBegin;
}

void PLogFollower::poll()
{
    if (fPath.empty())
    {
        return;
    }
    const bool hadFile = static_cast<bool>(fFile);
    readOn();
    if (isCurrent())
    {
        return;
    }
    // The log may have been rotated between the last line that was read and the check.
    readOn();
    for (unsigned int part = unreadParts(hadFile); part > 0; --part)
    {
        readPart(_partName(fPath, part));
    }
    readPart(fPath);
}

bool PLogFollower::hasRead() const
{
    return fHasRead;
}

bool PLogFollower::isBlind() const
{
    return !fFile || fHasGap || fHasBegin != fHasDetails;
}

std::vector<std::string> PLogFollower::takeErrors()
{
    return std::exchange(fErrors, {});
}

const std::vector<PLogFollower::AutostartFailure>& PLogFollower::autostartFailures() const
{
    return fAutostartFailures;
}

/// Whether the path still names the file that is open.
bool PLogFollower::isCurrent() const
{
    struct stat named = {};
    return fFile && stat(fPath.c_str(), &named) == 0 && _isSame(named, fIdentity);
}

/// The number of parts that are newer than the file that is open.
unsigned int PLogFollower::unreadParts(bool iHadFile) const
{
    for (unsigned int part = 1; part < kMaxParts; ++part)
    {
        struct stat named = {};
        if (stat(_partName(fPath, part).c_str(), &named) != 0 ||
            (iHadFile && _isSame(named, fIdentity)))
        {
            return part - 1;
        }
    }
    return 0;
}

void PLogFollower::readPart(const std::string& iPath)
{
    open(iPath);
    readOn();
}

// A file that is not regular is not opened: reading it would take what others wait for.
void PLogFollower::open(const std::string& iPath)
{
    struct stat status = {};
    fOffset = 0;
    fFile.close();
    if (stat(iPath.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
    {
        return;
    }
    fFile = PFileDescriptor(::open(iPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fFile || fstat(fFile.get(), &fIdentity) != 0)
    {
        fFile.close();
    }
}

void PLogFollower::readOn()
{
    if (!fFile)
    {
        return;
    }
    struct stat status = {};
    if (fstat(fFile.get(), &status) == 0 && status.st_size < fOffset)
    {
        fOffset = 0;
        fHasGap = true;
    }
    char block[kBlock];
    ssize_t count = 0;
    while ((count = pread(fFile.get(), block, sizeof block, fOffset)) > 0)
    {
        fOffset += count;
        fRest.append(block, static_cast<std::size_t>(count));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = fRest.find('\n', begin)) != std::string::npos;
             begin = end + 1)
        {
            takeLine(std::string_view(fRest).substr(begin, end - begin));
        }
        fRest.erase(0, begin);
    }
}

void PLogFollower::takeLine(std::string_view iLine)
{
    PLogEntry entry;
    if (!entry.read(iLine) || entry.process != getpid())
    {
        return;
    }
    fHasRead = true;
    fHasDetails = fHasDetails || entry.kind != 'E';
    fHasBegin = fHasBegin || entry.text == kFirstText;
    fPlugins.add(entry);
    takeAutostart(entry);
    if (entry.kind == 'E' && !entry.text.starts_with(kUsualError) && fErrors.size() < eMaxErrors)
    {
        fErrors.push_back(named(entry.text));
    }
}

void PLogFollower::takeAutostart(const PLogEntry& iEntry)
{
    std::string_view rest;
    if (iEntry.begins("[initAutoStartPlugin] Init autostart iPluginName: ", rest))
    {
        fAutostart = rest;
    }
    else if (iEntry.begins("[initAutoStartPlugin] Failed to init autostart plugin err: ", rest))
    {
        fAutostartFailures.push_back({fAutostart, _number(rest)});
    }
}

/// The text with the name of the library instead of the plugin's address.
std::string PLogFollower::named(std::string_view iText) const
{
    PLogEntry entry;
    entry.text = iText;
    std::string_view rest;
    unsigned long long address = 0;
    const std::size_t bracket = iText.find(']');
    if (bracket == std::string_view::npos ||
        !entry.isOfPlugin(iText.substr(0, bracket + 1), address, rest))
    {
        return std::string(iText);
    }
    const PPluginTable::Plugin* const plugin = fPlugins.find(address);
    return plugin ? std::string(iText.substr(0, bracket + 1)) + "[" + plugin->name + "] " +
                        std::string(rest)
                  : std::string(iText);
}
