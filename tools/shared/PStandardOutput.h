// SPDX-License-Identifier: MIT
// PStandardOutput: the standard output of a tool; reports its failures.
#ifndef IXLAL_TOOLS_PSTANDARDOUTPUT_H
#define IXLAL_TOOLS_PSTANDARDOUTPUT_H

#include <atomic>
#include <streambuf>

/// Filters the output of std::cout to record errno, which a stream does not. Any thread may write.
class PStandardOutput : private std::streambuf
{
public:
    /// Create the object before any file is opened. It occupies closed descriptors among 0 to 2, so
    /// that no file of the tool receives the output of a standard stream; writing to them fails.
    /// iTool begins the error message; it is borrowed and must outlive the object.
    explicit PStandardOutput(const char* iTool);
    ~PStandardOutput() override;

    PStandardOutput(const PStandardOutput&) = delete;
    PStandardOutput& operator=(const PStandardOutput&) = delete;

    /// Writes buffered output. Reports the first failure on the standard error stream. Returns 0 or
    /// the errno of that failure.
    int flush();

    /// Flushes. Returns iCode, or 1 if that is 0 and some output could not be written.
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
