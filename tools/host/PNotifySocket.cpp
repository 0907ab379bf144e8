// SPDX-License-Identifier: MIT
#include "host/PNotifySocket.h"

#include "shared/PFileDescriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{
/// The path of the socket; empty without one.
const char* _socketName()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the host never changes the environment
    const char* const name = std::getenv("NOTIFY_SOCKET");
    return name ? name : "";
}
} // namespace

bool PNotifySocket::isSet()
{
    return *_socketName() != '\0';
}

int PNotifySocket::send(std::string_view iState)
{
    const char* const name = _socketName();
    if (!*name)
    {
        return 0;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(name);
    if (length >= sizeof address.sun_path)
    {
        return ENAMETOOLONG;
    }
    std::memcpy(address.sun_path, name, length);
    if (*name == '@')
    {
        address.sun_path[0] = '\0'; // the abstract namespace
    }
    const PFileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const ssize_t sent = sendto(socket.get(), iState.data(), iState.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), size);
    return sent < 0 ? errno : 0;
}
