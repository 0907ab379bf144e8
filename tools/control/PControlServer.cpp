// SPDX-License-Identifier: MIT
#include "control/PControlServer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>

namespace
{
constexpr int kTailMilliseconds = 250;
constexpr int kStallMilliseconds = 1000;
constexpr int kGoodbyeMilliseconds = 1000;
constexpr std::size_t kTailBytes = 32 * 1024; ///< a turn
constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
constexpr mode_t kEverybody = kOwner | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

PFileDescriptor _newSpare()
{
    return PFileDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

/// Blocks all signals in the threads that are created while it exists.
class PBlockedSignals
{
public:
    PBlockedSignals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &fBefore); // cannot fail for a valid operation
    }

    ~PBlockedSignals()
    {
        pthread_sigmask(SIG_SETMASK, &fBefore, nullptr);
    }

    PBlockedSignals(const PBlockedSignals&) = delete;
    PBlockedSignals& operator=(const PBlockedSignals&) = delete;

private:
    sigset_t fBefore;
};

/// The last line for a client that is not served. Whether it arrives does not matter.
void _refuse(int iDescriptor, const PRequestError& iError)
{
    const std::string line = PCommands::errorReply(iError) + "\n";
    (void)send(iDescriptor, line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void _deliver(PConnection& ioConnection)
{
    std::deque<PNotice> notices;
    const bool isComplete = ioConnection.watches().take(notices);
    for (const PNotice& notice : notices)
    {
        ioConnection.send(PCommands::noticeLine(notice, ioConnection.watches()));
    }
    if (!isComplete)
    {
        ioConnection.send(PCommands::errorReply(
            PRequestError(kTooFast, "events arrive faster than they can be sent")));
        ioConnection.finish();
    }
}

// A log is read only as fast as the client reads its lines.
void _deliverLines(PConnection& ioConnection)
{
    for (PLogTail& tail : ioConnection.watches().tails())
    {
        if (ioConnection.outputSize() < kTailBytes)
        {
            for (const std::string& line : tail.more(kTailBytes))
            {
                ioConnection.send(PCommands::logLine(tail.name(), line));
            }
        }
    }
}
} // namespace

// Only its users may open the file. With further users their credentials decide alone.
PControlServer::PControlServer(const PControlServices& iServices, const PControlSettings& iSettings)
    : fServices(iServices),
      fSettings(iSettings),
      fWakeUp(std::make_shared<PWakeUp>()),
      fSocket(iSettings.socket, iSettings.users.empty() ? kOwner : kEverybody),
      fCommands(iServices, iSettings),
      fSpare(_newSpare())
{
}

PControlServer::~PControlServer()
{
    stop();
}

void PControlServer::start()
{
    const PBlockedSignals blocked;
    fThread = std::thread([this] { run(); });
}

void PControlServer::stop()
{
    if (!fThread.joinable())
    {
        return;
    }
    fStopping = true;
    fWakeUp->ring();
    fThread.join();
}

void PControlServer::run()
{
    pthread_setname_np(pthread_self(), "ixlal-control"); // only for the eye of the user
    while (!fStopping)
    {
        try
        {
            turn();
        }
        catch (const std::exception& problem)
        {
            // Mostly for lack of memory. The clients are lost, not the host.
            (void)fServices.logger->error(0, L"[control] Connections closed: %s", problem.what());
            fConnections.clear();
        }
    }
    fSocket.remove();
    try
    {
        sayGoodbye();
    }
    catch (const std::exception& problem)
    {
        (void)fServices.logger->error(0, L"[control] No last lines: %s", problem.what());
    }
    fConnections.clear();
}

void PControlServer::turn()
{
    wait();
    std::size_t place = 2;
    for (PConnection& connection : fConnections)
    {
        serve(connection, fPolled[place].revents);
        ++place;
    }
    if (fPolled[1].revents != 0)
    {
        acceptAll();
    }
    const Clock::time_point now = Clock::now();
    fConnections.remove_if([&](const PConnection& iConnection) { return iConnection.isOver(now); });
}

void PControlServer::wait()
{
    fPolled.clear();
    fPolled.push_back({fWakeUp->descriptor(), POLLIN, 0});
    fPolled.push_back({fSocket.descriptor(), POLLIN, 0});
    bool hasTails = false;
    bool hasOutput = false;
    for (PConnection& connection : fConnections)
    {
        const int wanted =
            (connection.wantsInput() ? POLLIN : 0) | (connection.hasOutput() ? POLLOUT : 0);
        fPolled.push_back({connection.descriptor(), static_cast<short>(wanted), 0});
        hasTails = hasTails || !connection.watches().tails().empty();
        hasOutput = hasOutput || connection.hasOutput();
    }
    const int limit = hasTails ? kTailMilliseconds : hasOutput ? kStallMilliseconds : -1;
    if (poll(fPolled.data(), fPolled.size(), limit) < 0 && errno != EINTR)
    {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    fWakeUp->reset();
}

void PControlServer::serve(PConnection& ioConnection, short iEvents)
{
    if ((iEvents & (POLLIN | POLLHUP | POLLERR)) != 0)
    {
        ioConnection.receive();
        answerLines(ioConnection);
    }
    ioConnection.flush();
    _deliver(ioConnection);
    _deliverLines(ioConnection);
}

void PControlServer::answerLines(PConnection& ioConnection)
{
    try
    {
        for (std::string line; ioConnection.takeLine(line);)
        {
            ioConnection.send(fCommands.answer(line, ioConnection));
        }
    }
    catch (const PRequestError& error)
    {
        ioConnection.send(PCommands::errorReply(error));
        ioConnection.finish();
    }
}

void PControlServer::acceptAll()
{
    while (acceptOne())
    {
    }
}

/// Without a free descriptor the client would stay in the queue, and the thread would never wait
/// again. The spare descriptor is used to refuse it.
bool PControlServer::acceptOne()
{
    const int found = accept4(fSocket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (found >= 0)
    {
        admit(found);
        return true;
    }
    if ((errno != EMFILE && errno != ENFILE) || !fSpare)
    {
        return false;
    }
    fSpare.close();
    PFileDescriptor refused(accept4(fSocket.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
    const bool isRefused = static_cast<bool>(refused);
    if (isRefused)
    {
        _refuse(refused.get(), PRequestError(kTooMany, "the host has no free file descriptors"));
    }
    refused.close(); // makes room for the spare one
    fSpare = _newSpare();
    return isRefused;
}

void PControlServer::admit(int iDescriptor)
{
    PFileDescriptor owner(iDescriptor);
    ucred peer = {};
    socklen_t size = sizeof(peer);
    if (getsockopt(iDescriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
        !fSettings.allows(peer.uid))
    {
        _refuse(iDescriptor, PRequestError(kNotAllowed, "user " + std::to_string(peer.uid) +
                                                            " may not control this host"));
        return;
    }
    if (fConnections.size() >= fSettings.connections)
    {
        _refuse(iDescriptor,
                PRequestError(kTooMany, "there are " + std::to_string(fSettings.connections) +
                                            " connections, the limit; close one, or try again"));
        return;
    }
    fConnections.emplace_back(std::move(owner), fSettings, fWakeUp);
}

void PControlServer::sayGoodbye()
{
    for (PConnection& connection : fConnections)
    {
        connection.send(PCommands::stoppingLine());
    }
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(kGoodbyeMilliseconds);
    for (PConnection& connection : fConnections)
    {
        while (connection.hasOutput() && !connection.isOver(Clock::now()) && Clock::now() < end)
        {
            pollfd output = {connection.descriptor(), POLLOUT, 0};
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            (void)poll(&output, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
            connection.flush();
        }
    }
}
