// SPDX-License-Identifier: MIT
#include "soak/LogWorker.h"

#include "support/CoreRun.h"

#include <filesystem>

namespace
{
constexpr unsigned int kKept = 4;
constexpr unsigned int kNames = 12;
constexpr wchar_t kFormat[] = L"soak %u %ls end";
} // namespace

void LogWorker::verify(CoreRun& ioCore)
{
    for (const auto& entry : std::filesystem::directory_iterator(ioCore.dir.path() / "log"))
    {
        verifyFile(entry.path().string());
    }
}

void LogWorker::verifyFile(const std::string& iPath)
{
    const std::string bytes = readFile(iPath);
    check("log size", bytes.size() <= kMaxSize, iPath + " has " + std::to_string(bytes.size()));
    for (std::size_t at = 0; at < bytes.size();)
    {
        const std::size_t end = bytes.find('\n', at);
        const std::string line = bytes.substr(at, end - at);
        const bool ours = line.find(" soak ") != std::string::npos;
        check("log line",
              end != std::string::npos && line.find(" pgs ") == line.rfind(" pgs ") &&
                  line.find(" pgs ") != std::string::npos && (!ours || line.ends_with(" end")),
              line);
        at = end == std::string::npos ? bytes.size() : end + 1;
    }
}

void LogWorker::step()
{
    if (fLoggers.size() < kKept)
    {
        return open();
    }
    const auto chosen = fLoggers.begin() + static_cast<std::ptrdiff_t>(pick(kKept));
    if (pick(64) == 0)
    {
        fLoggers.erase(chosen);
        return;
    }
    ILogger& logger = pick(8) == 0 ? *fLogger : **chosen;
    return pick(32) == 0 ? dump(logger) : write(logger);
}

void LogWorker::end()
{
    fLoggers.clear();
}

void LogWorker::open()
{
    const std::wstring name = L"soak" + std::to_wstring(pick(kNames)) + L".log";
    PBaseptr<ILogger> logger;
    expect("open log", 0, fLogger->getLogger(name.c_str(), logger));
    check("log", static_cast<bool>(logger), "no logger");
    if (logger)
    {
        fLoggers.push_back(logger);
    }
}

void LogWorker::write(ILogger& ioLogger)
{
    const std::wstring filling(pick(120), L'x');
    switch (pick(4))
    {
    case 0:
        return expect("write info", 0, ioLogger.info(0, kFormat, fNumber, filling.c_str()));
    case 1:
        return expect("write error", 0, ioLogger.error(0, kFormat, fNumber, filling.c_str()));
    case 2:
        return expect("filtered line", 0, ioLogger.debug(5, kFormat, fNumber, filling.c_str()));
    default:
        return expect("write debug", 0, ioLogger.debug(0, kFormat, fNumber, filling.c_str()));
    }
}

void LogWorker::dump(ILogger& ioLogger)
{
    const unsigned char bytes[40] = {1, 2, 3};
    expect("dump", 0, ioLogger.dumpHex(0, bytes, sizeof bytes, 16));
    expect("set level", 0, ioLogger.setLevel(static_cast<int>(pick(4))));
}
