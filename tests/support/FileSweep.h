// SPDX-License-Identifier: MIT
// FileSweep: runs an operation again and again, with another file call failing in each run.
#ifndef IXLAL_TESTS_FILESWEEP_H
#define IXLAL_TESTS_FILESWEEP_H

#include "support/FileFaults.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// The fault of one run.
struct FilePoint
{
    const FileFault* call;
    int number;       ///< the number of the call of its kind, from 1
    int error;        ///< the errno; 0 for a transfer of a single byte
    bool lasts;       ///< whether the later calls of the kind failed too
    std::string path; ///< the path of the call

    /// Whether the product need only repeat or continue the call.
    bool isHarmless() const;

    /// Whether it was a call of this kind on a path that ends with iEnd.
    bool is(const FileFault& iCall, const std::string& iEnd = "") const;

    std::string text() const;
};

/// An operation and its environment, created again for every run.
class FileScenario
{
public:
    virtual ~FileScenario() = default;

    /// Runs the operation; calls fail only during it. Returns its result code.
    virtual int operate() = 0;

    /// Whether the result is the expected one for the fault. By default 0 for a harmless fault,
    /// otherwise the negated errno.
    virtual bool admits(const FilePoint& iPoint, int iResult) const;

    /// A description of what the operation has left in a wrong state; empty if nothing.
    virtual std::string examine(const FilePoint& iPoint, int iResult);

    /// Runs the same operation again, which must return 0; describes what is wrong with its effect.
    virtual int repeat();
    virtual std::string examineRepeated();

    /// The number of descriptors that the operation leaves open while the scenario exists.
    virtual int keptOpen() const;
};

/// Makes the first, second, third ... call of each kind fail, until a run makes fewer calls: with
/// each error once and permanently, with an interruption, and with short transfers. No run may leak
/// a descriptor.
class FileSweep
{
public:
    typedef std::function<std::unique_ptr<FileScenario>()> Maker;

    FileSweep(std::string iName, Maker iMaker);

    /// Runs the faults of all or of some kinds of calls, prints their number and returns a text for
    /// each problem.
    std::vector<std::string> run();
    std::vector<std::string> run(const std::vector<FileFault*>& iCalls);

    /// The number of faults of one kind of call, and of all.
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

/// The open descriptors of this process.
int countHandles();

#endif
