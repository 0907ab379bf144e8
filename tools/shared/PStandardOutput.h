// SPDX-License-Identifier: MIT
// PStandardOutput: the standard output of a tool; reports its failures.
#ifndef IXLAL_TOOLS_PSTANDARDOUTPUT_H
#define IXLAL_TOOLS_PSTANDARDOUTPUT_H

#include <atomic>
#include <streambuf>

/// Stands between std::cout and what it writes to, because a stream keeps no reason for a failure.
/// Any thread may write.
class PStandardOutput : private std::streambuf
{
public:
    /// Made before anything opens a file: occupies those of the descriptors 0 to 2 that are
    /// closed, so that no file of the tool gets what is meant for a standard stream; writing there
    /// fails. iTool begins the complaint and must stay.
    explicit PStandardOutput(const char* iTool);
    ~PStandardOutput() override;

    PStandardOutput(const PStandardOutput&) = delete;
    PStandardOutput& operator=(const PStandardOutput&) = delete;

    /// Writes what is kept back. Tells the first failure on the standard error stream.
    /// Returns 0 or the errno of that failure.
    int flush();

    /// Flushes. Returns iCode, or 1 if that is 0 and something could not be written.
    int exitCode(int iCode);

private:
    int_type overflow(int_type iChar) override;
    std::streamsize xsputn(const char* iText, std::streamsize iLength) override;
    int sync() override;
    void note(bool iDone);

    const char* const fTool;
    std::streambuf* const fTarget;
    std::atomic<int> fError{0};
    std::atomic<bool> fTold{false};
};

#endif
