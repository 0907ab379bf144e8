// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"
#include "support/FileSweep.h"

#include <cerrno>
#include <filesystem>

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace
{
/// The lines of a log by their fate.
struct Tally
{
    int present = 0;
    int lost = 0;   ///< reported as lost by the log
    int broken = 0; ///< others
};

/// Counts the lines of all files of a directory.
Tally _tally(const fs::path& iDir)
{
    const std::string report = "[PLogger] Lost lines: ";
    Tally tally;
    for (const auto& entry : fs::recursive_directory_iterator(iDir))
    {
        for (const std::string& line :
             entry.is_directory() ? std::vector<std::string>() : readLines(entry.path()))
        {
            const bool whole = isWhole(line);
            const bool tells = whole && textOf(line).compare(0, report.size(), report) == 0;
            tally.lost += tells ? std::stoi(textOf(line).substr(report.size())) : 0;
            tally.present += whole && !tells;
            tally.broken += !whole;
        }
    }
    return tally;
}

std::string _text(const Tally& iTally)
{
    return std::to_string(iTally.present) + " lines, " + std::to_string(iTally.lost) +
           " told as lost, " + std::to_string(iTally.broken) + " broken";
}

/// Opens a log and writes lines. Whatever fails, each line is in the log or is reported as lost
/// when the log can be written again.
class Logging : public FileScenario
{
public:
    explicit Logging(LogSettings iSettings) : fSettings(std::move(iSettings))
    {
    }

    int operate() override
    {
        fOpened = fLogger->init(fDir.wideFile(fSettings.file), L"tag", fSettings.isNew,
                                fSettings.maxSize, fSettings.parts, fSettings.maxCount, true);
        int result = 0;
        for (int i = 0; i < kLines; ++i)
        {
            const int written = PLogger::info(fLogger.get(), 0, L"line %d", fSent++);
            fLost += written != 0;
            result = result != 0 ? result : written;
        }
        return result;
    }

    /// Lines are lost only while the file cannot be opened or written. The first line after a
    /// failed open opens it again.
    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        const bool mayFail = !iPoint.isHarmless() && mayLose(iPoint);
        const bool isRight = iResult == (fLost > 0 ? -iPoint.error : 0);
        return isRight && (mayFail || (fLost == 0 && fOpened == 0)) &&
               (fOpened == 0 || fOpened == -iPoint.error);
    }

    std::string examine(const FilePoint&, int) override
    {
        const Tally tally = _tally(fDir.path());
        return tally.present == fSent - fLost && tally.broken == 0 ? "" : _text(tally);
    }

    int repeat() override
    {
        return PLogger::info(fLogger.get(), 0, L"line %d", fSent++);
    }

    std::string examineRepeated() override
    {
        const Tally tally = _tally(fDir.path());
        const bool isRight =
            tally.present + tally.lost == fSent && tally.lost == fLost && tally.broken == 0;
        return isRight ? "" : _text(tally);
    }

    int keptOpen() const override
    {
        return 1;
    }

protected:
    static constexpr int kLines = 9;

    static bool mayLose(const FilePoint& iPoint)
    {
        return iPoint.is(FileFaults::open) || iPoint.is(FileFaults::write) ||
               iPoint.is(FileFaults::mkdir);
    }

    TempDir fDir;
    const LogSettings fSettings;
    std::unique_ptr<PLogger> fLogger = std::make_unique<PLogger>();
    int fOpened = 0;
    int fSent = 0;
    int fLost = 0;
};

/// Opens a log that has lines already.
class LoggingOn : public Logging
{
public:
    LoggingOn() : Logging({.parts = 20, .maxCount = 4})
    {
        Logging::operate();
        fLogger = std::make_unique<PLogger>();
    }
};

/// Closes the log at the end. A report that cannot be written then is lost.
class LoggingAndClosing : public Logging
{
public:
    LoggingAndClosing() : Logging({})
    {
    }

    int operate() override
    {
        const int result = Logging::operate();
        fLogger = std::make_unique<PLogger>();
        return result;
    }

    std::string examine(const FilePoint& iPoint, int iResult) override
    {
        fMayTell = !iPoint.lasts;
        return Logging::examine(iPoint, iResult);
    }

    int repeat() override
    {
        return Logging::operate();
    }

    std::string examineRepeated() override
    {
        const Tally tally = _tally(fDir.path());
        const bool isTold = tally.lost == (fMayTell ? fLost : 0);
        return tally.present + fLost == fSent && isTold && tally.broken == 0 ? "" : _text(tally);
    }

private:
    bool fMayTell = false;
};

/// A log that is emptied when it is full has the last lines.
class LoggingAnew : public Logging
{
public:
    LoggingAnew() : Logging({.maxCount = 4})
    {
    }

    std::string examine(const FilePoint&, int) override
    {
        return "";
    }

    std::string examineRepeated() override
    {
        const std::vector<std::string> lines = readLines(fDir.file(fSettings.file));
        const bool isRight = !lines.empty() && _tally(fDir.path()).broken == 0 &&
                             textOf(lines.back()) == "line " + std::to_string(fSent - 1);
        return isRight ? "" : _text(_tally(fDir.path()));
    }
};

/// A wrong log: it loses lines without a report.
class LosingSilently : public Logging
{
public:
    LosingSilently() : Logging({})
    {
    }

    int repeat() override
    {
        fLogger = std::make_unique<PLogger>();
        fs::remove(fDir.file(fSettings.file));
        fSent = fLost + kLines;
        return fLogger->init(fDir.wideFile(fSettings.file), L"tag", false, 0, 0, 0, true);
    }
};

template <class TScenario, class... TArgument>
FileSweep _sweepOf(const char* iName, const TArgument&... iArguments)
{
    return FileSweep(iName, [=] { return std::make_unique<TScenario>(iArguments...); });
}

void _expectStruck(const FileSweep& iSweep, const std::vector<const FileFault*>& iCalls)
{
    for (const FileFault* call : iCalls)
    {
        EXPECT_GE(iSweep.points(*call), 9) << call->name();
    }
}
} // namespace

TEST(LogFileSweep, NewLogReportsAllLostLines)
{
    FileSweep sweep =
        _sweepOf<Logging>("log in missing directories", LogSettings{.file = "logs/of/today.log"});
    EXPECT_THAT(sweep.run(), IsEmpty());
    _expectStruck(sweep,
                  {&FileFaults::open, &FileFaults::mkdir, &FileFaults::state, &FileFaults::write});
}

TEST(LogFileSweep, RotatingLogReportsAllLostLines)
{
    FileSweep sweep = _sweepOf<Logging>("rotating log", LogSettings{.parts = 20, .maxCount = 2});
    EXPECT_THAT(sweep.run(), IsEmpty());
    _expectStruck(sweep, {&FileFaults::open, &FileFaults::close, &FileFaults::state,
                          &FileFaults::lock, &FileFaults::rename, &FileFaults::write});
}

TEST(LogFileSweep, ContinuedLogReportsAllLostLines)
{
    FileSweep sweep = _sweepOf<LoggingOn>("log that goes on");
    EXPECT_THAT(sweep.run(), IsEmpty());
    _expectStruck(sweep, {&FileFaults::open, &FileFaults::read, &FileFaults::close,
                          &FileFaults::state, &FileFaults::rename, &FileFaults::write});
}

TEST(LogFileSweep, ClosingLogReportsLostLines)
{
    FileSweep sweep = _sweepOf<LoggingAndClosing>("log with its closing");
    EXPECT_THAT(sweep.run(), IsEmpty());
    _expectStruck(sweep, {&FileFaults::open, &FileFaults::close, &FileFaults::write});
}

TEST(LogFileSweep, LogWithoutPartsKeepsItsLastLines)
{
    FileSweep sweep = _sweepOf<LoggingAnew>("log without parts");
    EXPECT_THAT(sweep.run(), IsEmpty());
    _expectStruck(sweep, {&FileFaults::truncate, &FileFaults::write});
}

TEST(LogFileSweep, DetectsALogThatLosesLinesSilently)
{
    EXPECT_THAT(_sweepOf<LosingSilently>("wrong").run(),
                Contains(AllOf(HasSubstr("write 1 EIO"), HasSubstr("leaves for good: 0 lines"))));
}
