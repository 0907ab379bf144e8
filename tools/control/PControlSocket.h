// SPDX-License-Identifier: MIT
// PControlSocket: the listening socket of the control plugin.
#ifndef IXLAL_TOOLS_PCONTROLSOCKET_H
#define IXLAL_TOOLS_PCONTROLSOCKET_H

#include "shared/PFileDescriptor.h"

#include <string>
#include <sys/types.h>

/// A process owns the path while it has locked the file PATH.lock. The socket of a process that has
/// ended is replaced. Both files are removed by remove().
class PControlSocket
{
public:
    /// Creates the socket file with exactly the mode iMode. Throws std::system_error; the text says
    /// which file is concerned and what to do.
    PControlSocket(const std::string& iPath, mode_t iMode);

    ~PControlSocket();

    PControlSocket(const PControlSocket&) = delete;
    PControlSocket& operator=(const PControlSocket&) = delete;

    int descriptor() const noexcept;

    /// Ends listening and removes the files. New connections fail from now on.
    void remove() noexcept;

private:
    void lock();
    void refuseLive() const;
    void listen(mode_t iMode);

    const std::string fPath;
    const std::string fLockPath;
    PFileDescriptor fLock{-1};
    PFileDescriptor fSocket{-1};
    bool fIsBound = false;
};

#endif
