// SPDX-License-Identifier: MIT
#include "support/FileSweep.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <utility>

namespace fs = std::filesystem;

namespace
{
// A limit above the number of calls of any operation.
constexpr int kMostPoints = 2000;
} // namespace

int countHandles()
{
    // Without the descriptor of the listing itself.
    const auto entries = fs::directory_iterator("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries))) - 1;
}

bool FilePoint::isHarmless() const
{
    return error == 0 || error == EINTR;
}

bool FilePoint::is(const FileFault& iCall, const std::string& iEnd) const
{
    return call == &iCall && path.size() >= iEnd.size() &&
           path.compare(path.size() - iEnd.size(), iEnd.size(), iEnd) == 0;
}

std::string FilePoint::text() const
{
    return std::string(call->name()) + " " + std::to_string(number) +
           (error == 0 ? " short" : std::string(" ") + strerrorname_np(error)) +
           (lasts ? " for good" : "") + " on " + path;
}

bool FileScenario::admits(const FilePoint& iPoint, int iResult) const
{
    return iResult == (iPoint.isHarmless() ? 0 : -iPoint.error);
}

std::string FileScenario::examine(const FilePoint&, int)
{
    return "";
}

int FileScenario::repeat()
{
    return operate();
}

std::string FileScenario::examineRepeated()
{
    return "";
}

int FileScenario::keptOpen() const
{
    return 0;
}

FileSweep::FileSweep(std::string iName, Maker iMaker)
    : fName(std::move(iName)), fMaker(std::move(iMaker))
{
}

std::vector<std::string> FileSweep::run()
{
    const auto all = FileFaults::all();
    return run({all.begin(), all.end()});
}

std::vector<std::string> FileSweep::run(const std::vector<FileFault*>& iCalls)
{
    countCalls();
    for (FileFault* call : iCalls)
    {
        if (fPoints.count(call) == 0)
        {
            continue;
        }
        for (const int error : {EIO, ENOSPC, EMFILE, EACCES})
        {
            sweep(*call, {error, false});
            sweep(*call, {error, true});
        }
        sweep(*call, {EINTR, false});
        if (call == &FileFaults::read || call == &FileFaults::write)
        {
            sweep(*call, {0, false});
        }
    }
    print();
    return fFindings;
}

int FileSweep::points(const FileFault& iCall) const
{
    const auto found = fPoints.find(&iCall);
    return found == fPoints.end() ? 0 : found->second;
}

int FileSweep::points() const
{
    int sum = 0;
    for (const auto& [call, count] : fPoints)
    {
        sum += count;
    }
    return sum;
}

// Finds the kinds of calls that the operation makes, in a run without a fault.
void FileSweep::countCalls()
{
    const std::unique_ptr<FileScenario> scenario = fMaker();
    for (FileFault* call : FileFaults::all())
    {
        call->arm(0, 0);
    }
    const int result = scenario->operate();
    for (FileFault* call : FileFaults::all())
    {
        if (call->calls() > 0)
        {
            fPoints[call] = 0;
        }
    }
    if (result != 0)
    {
        fFindings.push_back(fName + " fails by itself: " + std::to_string(result));
    }
}

void FileSweep::sweep(FileFault& ioCall, const Fault& iFault)
{
    int number = 1;
    while (number < kMostPoints && runPoint(ioCall, iFault, number))
    {
        ++number;
    }
    fPoints[&ioCall] += number - 1;
}

/// Returns false when the operation made fewer calls.
bool FileSweep::runPoint(FileFault& ioCall, const Fault& iFault, int iNumber)
{
    const int handlesBefore = countHandles();
    FilePoint point{&ioCall, iNumber, iFault.error, iFault.lasts, ""};
    std::unique_ptr<FileScenario> scenario = fMaker();
    const int handles = countHandles();
    if (iFault.error == 0)
    {
        ioCall.shorten(1, iNumber - 1);
    }
    else
    {
        ioCall.arm(iFault.error, iFault.lasts ? -1 : 1, iNumber - 1);
    }
    const int result = scenario->operate();
    const bool struck = ioCall.hits() > 0;
    FileFaults::disarm();
    if (struck)
    {
        point.path = FileFaults::struckPath();
        judge(*scenario, point, result, handles);
        scenario.reset();
        expect(countHandles() == handlesBefore, point, "leaks a descriptor for good");
    }
    return struck;
}

void FileSweep::judge(FileScenario& ioScenario, const FilePoint& iPoint, int iResult, int iHandles)
{
    expect(ioScenario.admits(iPoint, iResult), iPoint, "returns " + std::to_string(iResult));
    expect(countHandles() <= iHandles + ioScenario.keptOpen(), iPoint, "leaks a descriptor");
    const std::string wrong = ioScenario.examine(iPoint, iResult);
    expect(wrong.empty(), iPoint, "leaves: " + wrong);
    const int repeated = ioScenario.repeat();
    expect(repeated == 0, iPoint, "fails for good: " + std::to_string(repeated));
    const std::string still = ioScenario.examineRepeated();
    expect(still.empty(), iPoint, "leaves for good: " + still);
}

void FileSweep::expect(bool iHolds, const FilePoint& iPoint, const std::string& iText)
{
    if (!iHolds)
    {
        fFindings.push_back(fName + ", " + iPoint.text() + ": " + iText);
    }
}

void FileSweep::print() const
{
    std::printf("[   SWEPT  ] %s: %d points (", fName.c_str(), points());
    const char* separator = "";
    for (const FileFault* call : FileFaults::all())
    {
        if (points(*call) > 0)
        {
            std::printf("%s%s %d", separator, call->name(), points(*call));
            separator = ", ";
        }
    }
    std::printf(")\n");
}
