// FileFaults: makes calls on files fail on demand.
#ifndef IXLAL_TESTS_FILEFAULTS_H
#define IXLAL_TESTS_FILEFAULTS_H

#include <atomic>
#include <cstddef>

/// The binary that links these objects defines the calls itself, ahead of the C library, and
/// forwards to it unless a fault is armed.
class FileFault
{
public:
    /// The next iTimes calls fail with iErrno.
    void arm(int iErrno, int iTimes = 1);

    /// True when this call is to fail; sets errno.
    bool strikes();

    /// Calls since arming or start, failed ones included.
    int calls() const;

private:
    std::atomic<int> fErrno{0};
    std::atomic<int> fLeft{0};
    std::atomic<int> fCalls{0};
};

struct FileFaults
{
    static FileFault write;
    static FileFault truncate;
    static FileFault open;

    /// The next write takes only so many bytes, perhaps none.
    static void shortenNextWrite(std::size_t iBytes);
};

#endif
