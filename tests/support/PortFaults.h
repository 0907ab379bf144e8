// SPDX-License-Identifier: MIT
// PortFaults: makes calls of the porting layer fail on demand.
#ifndef IXLAL_TESTS_PORTFAULTS_H
#define IXLAL_TESTS_PORTFAULTS_H

#include <atomic>
#include <functional>
#include <vector>

/// A call that a test can make fail. The binary that links these objects defines the calls
/// itself, ahead of the shared library, and forwards to the library unless a fault is armed.
class PortFault
{
public:
    /// After the next iSkip calls iTimes calls are not made and return iCode; iTimes -1 means all.
    /// Calls of all threads count, unless onThisThread is true.
    void arm(int iCode, int iSkip = 0, int iTimes = -1);

    /// As arm, but for calls of the calling thread only.
    void armOnThisThread(int iCode, int iSkip = 0, int iTimes = -1);

    void disarm();

    /// The number of calls that returned the armed code since arming.
    int hits() const;

    /// For the replacing definitions: whether this call is to return oCode.
    bool strikes(int& oCode);

private:
    std::atomic<bool> fArmed{false};
    std::atomic<int> fCode{0};
    std::atomic<int> fSkip{0};
    std::atomic<int> fLeft{0};
    std::atomic<int> fHits{0};
    std::atomic<unsigned long> fThread{0};
};

struct PortFaults
{
    static PortFault mutexInit;
    static PortFault mutexLock;
    static PortFault mutexUnlock;
    static PortFault mutexClose;
    static PortFault condVarInit;
    static PortFault condVarClose;
    static PortFault condVarNotifyAll;
    static PortFault condVarWait;
    static PortFault threadCreate;
    static PortFault fileOpen;
    static PortFault fileClose;
    static PortFault fileDelete;
    static PortFault int32ToStr;
    static PortFault memoryUsage;
    static PortFault stringSet;

    /// Called on the calling thread before it locks a mutex, and after it has unlocked one.
    static thread_local std::function<void()> beforeLock;
    static thread_local std::function<void()> afterUnlock;

    /// While true, psleep records its argument instead of sleeping.
    static std::atomic<bool> skipSleep;
    static std::vector<unsigned int> sleeps();

    /// Disarms all faults and clears the recorded sleeps.
    static void reset();
};

#endif
