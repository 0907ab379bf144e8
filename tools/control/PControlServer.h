// SPDX-License-Identifier: MIT
// PControlServer: serves the clients of the control socket.
#ifndef IXLAL_TOOLS_PCONTROLSERVER_H
#define IXLAL_TOOLS_PCONTROLSERVER_H

#include "control/PCommands.h"
#include "control/PControlSocket.h"

#include <atomic>
#include <list>
#include <memory>
#include <poll.h>
#include <thread>
#include <vector>

/// One thread does everything, one request after the other. It waits without a limit while no
/// client needs anything.
///
/// stop() ends the thread first; then the connections, with their subscriptions, and the socket are
/// destroyed.
class PControlServer
{
public:
    /// Creates the socket. Throws std::system_error.
    PControlServer(const PControlServices& iServices, const PControlSettings& iSettings);

    ~PControlServer();

    PControlServer(const PControlServer&) = delete;
    PControlServer& operator=(const PControlServer&) = delete;

    /// Starts the thread, in which all signals are blocked. Throws std::system_error.
    void start();

    /// Sends every client a last line and ends the thread. Does nothing when it does not run.
    void stop();

private:
    typedef PConnection::Clock Clock;
    typedef std::list<PConnection> Connections;

    void run();
    void turn();
    void wait();
    void acceptAll();
    bool acceptOne();
    void admit(int iDescriptor);
    void serve(PConnection& ioConnection, short iEvents);
    void answerLines(PConnection& ioConnection);
    void sayGoodbye();

    const PControlServices& fServices;
    const PControlSettings& fSettings;
    const std::shared_ptr<PWakeUp> fWakeUp;
    PControlSocket fSocket;
    std::atomic<bool> fStopping{false};

    // Used by the thread only.
    PCommands fCommands;
    Connections fConnections;
    std::vector<pollfd> fPolled; ///< the event, the socket, then the connections in their order
    PFileDescriptor fSpare;      ///< closed to refuse a client without descriptors

    std::thread fThread; ///< last: it uses the others
};

#endif
