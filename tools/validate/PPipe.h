// SPDX-License-Identifier: MIT
// PPipe: both ends of a pipe.
#ifndef IXLAL_TOOLS_PPIPE_H
#define IXLAL_TOOLS_PPIPE_H

#include "shared/PFileDescriptor.h"

#include <array>
#include <fcntl.h>
#include <string>
#include <system_error>

/// Started programs do not inherit the ends.
class PPipe
{
public:
    /// Throws std::system_error.
    PPipe() : PPipe(open())
    {
    }

    /// Everything until the last writing end is closed.
    std::string readToEnd() const
    {
        std::string text;
        std::array<char, 4096> buffer;
        for (;;)
        {
            const ssize_t count = ::read(reading.get(), buffer.data(), buffer.size());
            if (count == 0 || (count < 0 && errno != EINTR))
            {
                return text;
            }
            text.append(buffer.data(), static_cast<std::size_t>(count > 0 ? count : 0));
        }
    }

    PFileDescriptor reading;
    PFileDescriptor writing;

private:
    explicit PPipe(const std::array<int, 2>& iEnds) : reading(iEnds[0]), writing(iEnds[1])
    {
    }

    static std::array<int, 2> open()
    {
        std::array<int, 2> ends = {-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        {
            throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
        }
        return ends;
    }
};

#endif
