// SPDX-License-Identifier: MIT
#include "control/PControlSettings.h"

#include "Ixla.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <pwd.h>
#include <stdexcept>
#include <unistd.h>

namespace
{
constexpr std::size_t kPasswordEntrySize = 16 * 1024;

[[noreturn]] void _refuse(const char* iKey, const std::string& iWhat)
{
    throw std::runtime_error(std::string(iKey) +
                             " in the configuration of the control plugin: " + iWhat);
}

void _readNumber(IConfig& iConfig, const char* iKey, unsigned int iLowest, unsigned int iHighest,
                 unsigned int& ioValue)
{
    unsigned int value = ioValue;
    const int result = iConfig.getUint32(ixlaWide(iKey), value);
    if (result == eIxlaNotFound)
    {
        return;
    }
    if (result != eIxlaOk || value < iLowest || value > iHighest)
    {
        _refuse(iKey,
                "not a number from " + std::to_string(iLowest) + " to " + std::to_string(iHighest));
    }
    ioValue = value;
}

std::string _readText(IConfig& iConfig, const char* iKey)
{
    PString value;
    const int result = iConfig.getString(ixlaWide(iKey), value);
    if (result != eIxlaOk && result != eIxlaNotFound)
    {
        _refuse(iKey, ixlaResultText(result));
    }
    return ixlaNarrow(value);
}

uid_t _userOf(const std::string& iName)
{
    uid_t number = 0;
    const char* const end = iName.data() + iName.size();
    const auto [last, error] = std::from_chars(iName.data(), end, number);
    if (error == std::errc() && last == end)
    {
        return number;
    }
    std::vector<char> buffer(kPasswordEntrySize);
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwnam_r(iName.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
    {
        _refuse("users", "no such user: " + iName);
    }
    return entry.pw_uid;
}

/// A variable of the environment, up to the first ":".
std::string _environment(const char* iName)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): called once, while the host starts
    const char* const value = std::getenv(iName);
    const std::string text = value ? value : "";
    return text.substr(0, text.find(':'));
}
} // namespace

void PControlSettings::read(IConfig& iConfig)
{
    socket = _readText(iConfig, "socket");
    isDefaultPlace = socket.empty();
    if (isDefaultPlace)
    {
        chooseDefaultPlace();
    }
    for (const PString& name : namesOf(ixlaWide(_readText(iConfig, "users"))))
    {
        users.push_back(_userOf(ixlaNarrow(name)));
    }
    _readNumber(iConfig, "connections", 1, 4096, connections);
    _readNumber(iConfig, "request.size", 256, 1024 * 1024, requestSize);
    _readNumber(iConfig, "rate", 1, 1000000, rate);
    _readNumber(iConfig, "queue.size", 4096, 64 * 1024 * 1024, queueSize);
    _readNumber(iConfig, "stall.seconds", 1, 3600, stallSeconds);
}

void PControlSettings::chooseDefaultPlace()
{
    const std::string ofService = _environment("RUNTIME_DIRECTORY");
    const std::string ofSession = _environment("XDG_RUNTIME_DIR");
    const std::string ofSystem = geteuid() == 0 ? "/run" : "/run/user/" + std::to_string(geteuid());
    const std::string& directory = !ofService.empty()   ? ofService
                                   : !ofSession.empty() ? ofSession
                                                        : ofSystem;
    socket = directory + "/ixlal-control";
}

bool PControlSettings::allows(uid_t iUser) const
{
    return iUser == 0 || iUser == geteuid() ||
           std::find(users.begin(), users.end(), iUser) != users.end();
}
