// SPDX-License-Identifier: MIT
#include "control/PControlSocket.h"

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
constexpr int kBacklog = 512;

[[noreturn]] void _fail(int iError, const std::string& iWhat)
{
    throw std::system_error(iError, std::generic_category(), iWhat);
}

sockaddr_un _addressOf(const std::string& iPath)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (iPath.empty() || iPath.size() >= sizeof(address.sun_path))
    {
        _fail(ENAMETOOLONG, iPath + ": the path of a socket has at most " +
                                std::to_string(sizeof(address.sun_path) - 1) +
                                " bytes; set \"socket\" to another one");
    }
    std::memcpy(address.sun_path, iPath.data(), iPath.size());
    return address;
}

PFileDescriptor _newSocket(const std::string& iPath)
{
    PFileDescriptor made(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!made)
    {
        _fail(errno, iPath + ": no socket can be created");
    }
    return made;
}

template <class TFunction>
int _withAddress(const std::string& iPath, int iSocket, const TFunction& iFunction)
{
    const sockaddr_un address = _addressOf(iPath);
    const int done = iFunction(iSocket, reinterpret_cast<const sockaddr*>(&address),
                               static_cast<socklen_t>(sizeof(address)));
    return done == 0 ? 0 : errno;
}
} // namespace

PControlSocket::PControlSocket(const std::string& iPath, mode_t iMode)
    : fPath(iPath), fLockPath(iPath + ".lock")
{
    (void)_addressOf(fPath); // refuses a path before any file is created
    lock();
    try
    {
        refuseLive();
        listen(iMode);
    }
    catch (...)
    {
        remove();
        throw;
    }
}

PControlSocket::~PControlSocket()
{
    remove();
}

int PControlSocket::descriptor() const noexcept
{
    return fSocket.get();
}

// A record lock ends with its process, also when a forked child lives on. The file may have been
// removed by its owner between opening and locking; then the lock is that of a removed file.
void PControlSocket::lock()
{
    struct stat locked = {};
    struct stat present = {};
    do
    {
        fLock = PFileDescriptor(
            ::open(fLockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kPrivate));
        if (!fLock || fstat(fLock.get(), &locked) != 0)
        {
            _fail(errno, fLockPath + ": cannot be created; \"socket\" names a file in a directory "
                                     "that the host may write to");
        }
        struct flock whole = {};
        whole.l_type = F_WRLCK;
        if (fcntl(fLock.get(), F_SETLK, &whole) != 0)
        {
            const int error = errno == EACCES || errno == EAGAIN ? EADDRINUSE : errno;
            _fail(error, fPath + ": belongs to another running host; set \"socket\" to another "
                                 "path in one of them");
        }
    } while (stat(fLockPath.c_str(), &present) != 0 || present.st_ino != locked.st_ino);
}

void PControlSocket::refuseLive() const
{
    struct stat present = {};
    if (lstat(fPath.c_str(), &present) != 0)
    {
        return;
    }
    if (!S_ISSOCK(present.st_mode))
    {
        _fail(EEXIST, fPath + ": is not a socket; remove it, or set \"socket\" to another path");
    }
    const PFileDescriptor probe = _newSocket(fPath);
    const int error = _withAddress(fPath, probe.get(), &::connect);
    if (error == 0 || error == EAGAIN)
    {
        _fail(EADDRINUSE,
              fPath + ": another process listens there; set \"socket\" to another path");
    }
    if (unlink(fPath.c_str()) != 0 && errno != ENOENT)
    {
        _fail(errno, fPath + ": the socket of a host that has ended cannot be removed");
    }
}

// On Linux bind() creates the file with the mode of the descriptor, less the umask. So the file is
// never open to others, and the umask of the process, which all threads share, stays as it is.
void PControlSocket::listen(mode_t iMode)
{
    fSocket = _newSocket(fPath);
    if (fchmod(fSocket.get(), kPrivate) != 0)
    {
        _fail(errno, fPath + ": the mode of the socket cannot be set");
    }
    if (const int error = _withAddress(fPath, fSocket.get(), &::bind))
    {
        _fail(error, fPath + ": cannot be created");
    }
    fIsBound = true;
    if (chmod(fPath.c_str(), iMode) != 0 || ::listen(fSocket.get(), kBacklog) != 0)
    {
        _fail(errno, fPath + ": cannot be used");
    }
}

void PControlSocket::remove() noexcept
{
    fSocket.close();
    // A file that stays is replaced by the next host.
    if (fIsBound)
    {
        (void)unlink(fPath.c_str());
    }
    if (fLock)
    {
        (void)unlink(fLockPath.c_str());
    }
    fIsBound = false;
    fLock.close(); // ends the lock, after its file was removed
}
