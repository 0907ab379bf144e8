// SPDX-License-Identifier: MIT
// FileFaults: makes calls on files fail on demand.
#ifndef IXLAL_TESTS_FILEFAULTS_H
#define IXLAL_TESTS_FILEFAULTS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <string>

/// A kind of call that a test can make fail. The binary that links these objects defines the calls
/// itself, ahead of the C library, and forwards to it unless a fault is armed. Calls of all threads
/// count.
class FileFault
{
public:
    explicit FileFault(const char* iName);

    const char* name() const;

    /// After the next iSkip calls iTimes calls fail with iErrno; iTimes -1 means all. A close that
    /// fails still closes the handle.
    void arm(int iErrno, int iTimes = 1, int iSkip = 0);

    /// After the next iSkip calls one call transfers at most iBytes, which may be 0. A shortened
    /// call does not count for arm.
    void shorten(std::size_t iBytes, int iSkip = 0);

    /// Runs iAction within the next call that fails, before it returns.
    void onStrike(std::function<void()> iAction);

    void disarm();

    /// The number of calls since arming or start, including failed ones.
    int calls() const;

    /// The number of calls that failed or were shortened since arming.
    int hits() const;

    /// For the replacing definitions: whether the call on iPath, or on the file of iHandle, is to
    /// fail; sets errno.
    bool strikes(const char* iPath);
    bool strikes(int iHandle);

    /// For the replacing definitions: the number of bytes, of iSize, that the call may transfer,
    /// and whether that is less than iSize.
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

/// Reading includes reading at a position. The state of a file is read by path, by handle, or by
/// directory and name.
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

    /// Kills the process with SIGKILL at the call after iSkip calls of any kind. A write first
    /// transfers iPermille thousandths of its bytes; any other call is not made.
    static void killAfter(int iSkip, int iPermille);

    /// For the replacing definition of write: whether the process is to be killed in it, and the
    /// number of bytes, of iSize, that it transfers first.
    static bool killsWithin(std::size_t iSize, std::size_t& oTransferred);

    /// The path of the last call that failed or was shortened.
    static std::string struckPath();
};

#endif
