// SPDX-License-Identifier: MIT
// FileSweep: runs an operation again and again, each time with another call on files going wrong.
#ifndef IXLAL_TESTS_FILESWEEP_H
#define IXLAL_TESTS_FILESWEEP_H

#include "support/FileFaults.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// What went wrong in one run.
struct FilePoint
{
    const FileFault* call;
    int number;       ///< which call of its kind, from 1
    int error;        ///< the errno; 0 for a transfer of a single byte
    bool lasts;       ///< whether the later calls of the kind failed too
    std::string path; ///< what the call worked on

    /// Whether the call only needs to be made again or continued.
    bool isHarmless() const;

    /// Whether it was a call of this kind, on a file whose path ends with iEnd.
    bool is(const FileFault& iCall, const std::string& iEnd = "") const;

    std::string text() const;
};

/// An operation and all that it needs, made anew for every run.
class FileScenario
{
public:
    virtual ~FileScenario() = default;

    /// The operation; calls go wrong only while it runs. Returns its result code.
    virtual int operate() = 0;

    /// Whether the result is the one that the point must lead to: as it stands 0 for what is
    /// harmless and otherwise the negated errno.
    virtual bool admits(const FilePoint& iPoint, int iResult) const;

    /// What is wrong with what the operation has left; empty when nothing is.
    virtual std::string examine(const FilePoint& iPoint, int iResult);

    /// The same operation right after, which must return 0, and what is wrong with its effect.
    virtual int repeat();
    virtual std::string examineRepeated();

    /// How many descriptors the operation leaves open while the scenario lives.
    virtual int keptOpen() const;
};

/// Strikes the first, second, third ... call of each kind that the operation makes, with each
/// error once and for good, with an interruption, and with short transfers, until a run passes
/// without being struck. No run may leak a descriptor.
class FileSweep
{
public:
    typedef std::function<std::unique_ptr<FileScenario>()> Maker;

    FileSweep(std::string iName, Maker iMaker);

    /// Runs the points of all kinds of calls, or of some, prints how many there were and returns
    /// what was wrong, a text each.
    std::vector<std::string> run();
    std::vector<std::string> run(const std::vector<FileFault*>& iCalls);

    /// The points of one kind of call, and of all.
    int points(const FileFault& iCall) const;
    int points() const;

private:
    struct Fault
    {
        int error;
        bool lasts;
    };

    void countCalls();
    void sweep(FileFault& ioCall, const Fault& iFault);
    bool runPoint(FileFault& ioCall, const Fault& iFault, int iNumber);
    void judge(FileScenario& ioScenario, const FilePoint& iPoint, int iResult, int iHandles);
    void expect(bool iHolds, const FilePoint& iPoint, const std::string& iText);
    void print() const;

    const std::string fName;
    const Maker fMaker;
    std::vector<std::string> fFindings;
    std::map<const FileFault*, int> fPoints;
};

/// The descriptors that this process has open.
int countHandles();

#endif
