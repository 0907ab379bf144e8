// SPDX-License-Identifier: MIT
// PFileDescriptor: owns a file descriptor.
#ifndef IXLAL_TOOLS_PFILEDESCRIPTOR_H
#define IXLAL_TOOLS_PFILEDESCRIPTOR_H

#include <cerrno>
#include <string_view>
#include <unistd.h>
#include <utility>

class PFileDescriptor
{
public:
    /// Takes ownership of iDescriptor; a negative one means none.
    explicit PFileDescriptor(int iDescriptor) noexcept : fDescriptor(iDescriptor)
    {
    }

    ~PFileDescriptor()
    {
        close(); // ignores the result; callers that need it call close() before
    }

    PFileDescriptor(PFileDescriptor&& ioOther) noexcept
        : fDescriptor(std::exchange(ioOther.fDescriptor, -1))
    {
    }

    /// Closes the own descriptor first.
    PFileDescriptor& operator=(PFileDescriptor&& ioOther) noexcept
    {
        close();
        fDescriptor = std::exchange(ioOther.fDescriptor, -1);
        return *this;
    }

    PFileDescriptor(const PFileDescriptor&) = delete;
    PFileDescriptor& operator=(const PFileDescriptor&) = delete;

    int get() const noexcept
    {
        return fDescriptor;
    }

    explicit operator bool() const noexcept
    {
        return fDescriptor >= 0;
    }

    /// Returns 0 or the errno of writing.
    int writeAll(std::string_view iBytes) const noexcept
    {
        while (!iBytes.empty())
        {
            const ssize_t written = ::write(fDescriptor, iBytes.data(), iBytes.size());
            if (written < 0 && errno != EINTR)
            {
                return errno;
            }
            iBytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
        return 0;
    }

    /// Returns 0 or the errno of closing; 0 when it is already closed.
    int close() noexcept
    {
        const int descriptor = std::exchange(fDescriptor, -1);
        return descriptor < 0 || ::close(descriptor) == 0 ? 0 : errno;
    }

private:
    int fDescriptor;
};

#endif
