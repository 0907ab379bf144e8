// SPDX-License-Identifier: MIT
// UnreadStream: a standard error stream that nobody reads unless told to.
#ifndef IXLAL_TESTS_UNREADSTREAM_H
#define IXLAL_TESTS_UNREADSTREAM_H

#include <string>

/// Stands in for the standard error stream while it lives. Its descriptor waits, as the ones that
/// a shell hands out do.
class UnreadStream
{
public:
    enum EKind
    {
        ePipe,
        eSocket,
        eTerminal
    };

    explicit UnreadStream(EKind iKind);
    ~UnreadStream();

    UnreadStream(const UnreadStream&) = delete;
    UnreadStream& operator=(const UnreadStream&) = delete;

    static std::string name(EKind iKind);

    /// Why there is no such stream where the test runs; empty when there is one.
    const std::string& missing() const
    {
        return fMissing;
    }

    /// Leaves no room in the stream.
    void fill();

    /// What stands in the stream, which has room again.
    std::string readAll();

    /// Nobody will read the stream any more.
    void closeReader();

private:
    void makeTerminal(int (&oEnds)[2]);

    int fKept;   ///< the stream of before
    int fReader; ///< the end that could be read
    std::string fMissing;
};

#endif
