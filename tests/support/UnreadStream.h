// SPDX-License-Identifier: MIT
// UnreadStream: a standard error stream that is not read until the test reads it.
#ifndef IXLAL_TESTS_UNREADSTREAM_H
#define IXLAL_TESTS_UNREADSTREAM_H

#include <string>

/// Replaces the standard error stream until the end of its scope. Its descriptor is blocking, as
/// those of a shell are.
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

    /// The reason why the stream could not be created; empty if it was.
    const std::string& missing() const
    {
        return fMissing;
    }

    /// Fills the stream.
    void fill();

    /// Reads the content of the stream, which then has room again.
    std::string readAll();

    /// Closes the reading end.
    void closeReader();

private:
    void makeTerminal(int (&oEnds)[2]);

    int fKept;   ///< the previous stream
    int fReader; ///< the reading end
    std::string fMissing;
};

#endif
