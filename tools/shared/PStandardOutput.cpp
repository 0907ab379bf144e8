// SPDX-License-Identifier: MIT
#include "shared/PStandardOutput.h"

#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr int kOutputFailed = 1;

/// Opens /dev/null for closed standard streams, in ascending order because open returns the lowest
/// free number. The wrong direction makes their use fail as before.
void _occupyClosed()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        if (::fcntl(stream, F_GETFD) == -1 && errno == EBADF)
        {
            // On failure the stream stays closed.
            static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}
} // namespace

PStandardOutput::PStandardOutput(const char* iTool) : fTool(iTool), fTarget(std::cout.rdbuf())
{
    _occupyClosed();
    std::cout.rdbuf(this);
}

PStandardOutput::~PStandardOutput()
{
    std::cout.rdbuf(fTarget);
}

int PStandardOutput::flush()
{
    std::cout.flush();
    const int error = fError;
    if (error != 0 && !fTold.exchange(true))
    {
        std::cerr << fTool << ": cannot write to the standard output: "
                  << std::generic_category().message(error) << std::endl;
    }
    return error;
}

int PStandardOutput::exitCode(int iCode)
{
    return flush() != 0 && iCode == 0 ? kOutputFailed : iCode;
}

PStandardOutput::int_type PStandardOutput::overflow(int_type iChar)
{
    if (traits_type::eq_int_type(iChar, traits_type::eof()))
    {
        return traits_type::not_eof(iChar);
    }
    errno = 0;
    const int_type written = fTarget->sputc(traits_type::to_char_type(iChar));
    note(!traits_type::eq_int_type(written, traits_type::eof()));
    return written;
}

std::streamsize PStandardOutput::xsputn(const char* iText, std::streamsize iLength)
{
    errno = 0;
    const std::streamsize written = fTarget->sputn(iText, iLength);
    note(written == iLength);
    return written;
}

int PStandardOutput::sync()
{
    errno = 0;
    const int result = fTarget->pubsync();
    note(result == 0);
    return result;
}

void PStandardOutput::note(bool iDone)
{
    if (!iDone)
    {
        int none = 0;
        fError.compare_exchange_strong(none, errno != 0 ? errno : EIO);
    }
}
