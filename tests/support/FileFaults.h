// SPDX-License-Identifier: MIT
// FileFaults: makes calls on files fail on demand.
#ifndef IXLAL_TESTS_FILEFAULTS_H
#define IXLAL_TESTS_FILEFAULTS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <string>

/// A kind of call that a test can make go wrong. The binary that links these objects defines the
/// calls itself, ahead of the C library, and forwards to it unless a fault is armed. Calls of all
/// threads count.
class FileFault
{
public:
    explicit FileFault(const char* iName);

    const char* name() const;

    /// The next iSkip calls go through, then iTimes calls fail with iErrno; iTimes -1 stands for
    /// all. A close that fails has closed all the same.
    void arm(int iErrno, int iTimes = 1, int iSkip = 0);

    /// The next iSkip calls go through, then one transfers iBytes at most, perhaps none. A call
    /// that is shortened doesn't count for arm.
    void shorten(std::size_t iBytes, int iSkip = 0);

    /// Runs iAction within the next call that fails, before it returns.
    void onStrike(std::function<void()> iAction);

    void disarm();

    /// Calls since arming or start, failed ones included.
    int calls() const;

    /// Calls that failed or were shortened since arming.
    int hits() const;

    /// For the replacing definitions: true when the call on iPath, or on the file behind iHandle,
    /// is to fail; sets errno.
    bool strikes(const char* iPath);
    bool strikes(int iHandle);

    /// For the replacing definitions: how many of iSize bytes the call may transfer, and whether
    /// that is fewer.
    bool shortens(int iHandle, std::size_t& ioSize);

private:
    bool strikesNow();
    void act();

    std::function<void()> fAction;
    const char* const fName;
    std::atomic<int> fErrno{0};
    std::atomic<int> fSkip{0};
    std::atomic<int> fLeft{0};
    std::atomic<int> fCalls{0};
    std::atomic<int> fHits{0};
    std::atomic<int> fShortSkip{-1}; ///< -1 while no call is to be shortened
    std::atomic<std::size_t> fShortSize{0};
};

/// Reading includes reading at a position; the state of a file is asked for by path, by handle and
/// by directory and name alike.
struct FileFaults
{
    static FileFault open;
    static FileFault read;
    static FileFault write;
    static FileFault close;
    static FileFault state;
    static FileFault access;
    static FileFault unlink;
    static FileFault mkdir;
    static FileFault rename;
    static FileFault seek;
    static FileFault truncate;
    static FileFault control;
    static FileFault lock;
    static FileFault openDir;
    static FileFault readDir;

    static std::array<FileFault*, 15> all();

    /// The kind of that name, which must exist.
    static FileFault* find(const std::string& iName);

    static void disarm();

    /// Kills the process with SIGKILL at the call after iSkip calls, of whatever kind. A write
    /// first transfers iPermille thousandths of its bytes; any other call is not made.
    static void killAfter(int iSkip, int iPermille);

    /// For the replacing definition of write: whether the process is to be killed within it, and
    /// how many of iSize bytes it transfers first.
    static bool killsWithin(std::size_t iSize, std::size_t& oTransferred);

    /// The path of the call that was struck last.
    static std::string struckPath();
};

#endif
