// SPDX-License-Identifier: MIT
#include "control/PConnection.h"

#include "control/PRequestError.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

namespace
{
constexpr std::size_t kReadSize = 4096;

bool _isTemporary(int iError)
{
    return iError == EAGAIN || iError == EWOULDBLOCK || iError == EINTR;
}
} // namespace

PConnection::PConnection(PFileDescriptor iDescriptor, const PControlSettings& iSettings,
                         const std::shared_ptr<PWakeUp>& iWakeUp)
    : fDescriptor(std::move(iDescriptor)),
      fSettings(iSettings),
      fProgress(Clock::now()),
      fTokens(iSettings.rate),
      fRefilled(fProgress),
      fWatches(iWakeUp, iSettings.queueSize)
{
}

int PConnection::descriptor() const noexcept
{
    return fDescriptor.get();
}

PWatches& PConnection::watches() noexcept
{
    return fWatches;
}

// One block a turn, so that a client that sends much does not delay the others.
void PConnection::receive()
{
    char block[kReadSize];
    const ssize_t count = recv(fDescriptor.get(), block, sizeof(block), 0);
    if (count > 0)
    {
        fInput.append(block, static_cast<std::size_t>(count));
    }
    else if (count == 0)
    {
        finish();
    }
    else if (!_isTemporary(errno))
    {
        fBroken = true;
    }
}

bool PConnection::takeLine(std::string& oLine)
{
    if (fBroken)
    {
        return false;
    }
    const std::size_t end = fInput.find('\n');
    const std::size_t length = std::min(end, fInput.size());
    if (length > fSettings.requestSize)
    {
        throw PRequestError(kTooLarge, "a request has at most " +
                                           std::to_string(fSettings.requestSize) + " bytes");
    }
    if (end == std::string::npos)
    {
        return false;
    }
    spendToken();
    oLine.assign(fInput, 0, end);
    fInput.erase(0, end + 1);
    return true;
}

void PConnection::spendToken()
{
    const Clock::time_point now = Clock::now();
    const std::chrono::duration<double> passed = now - fRefilled;
    fRefilled = now;
    fTokens = std::min<double>(fSettings.rate, fTokens + passed.count() * fSettings.rate);
    if (fTokens < 1)
    {
        throw PRequestError(kTooFast, "a connection may send " + std::to_string(fSettings.rate) +
                                          " requests a second");
    }
    fTokens -= 1;
}

void PConnection::send(const std::string& iLine)
{
    if (fBroken)
    {
        return;
    }
    // A single line may exceed the limit, so that every reply can be sent.
    if (hasOutput() && outputSize() + iLine.size() >= fSettings.queueSize)
    {
        fBroken = true;
        return;
    }
    if (!hasOutput())
    {
        fProgress = Clock::now();
    }
    fOutput += iLine;
    fOutput += '\n';
    flush();
}

void PConnection::flush()
{
    if (!fBroken && hasOutput())
    {
        writeOutput();
    }
}

void PConnection::writeOutput()
{
    const ssize_t count = ::send(fDescriptor.get(), fOutput.data() + fSent, outputSize(),
                                 MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0)
    {
        fBroken = !_isTemporary(errno);
        return;
    }
    fSent += static_cast<std::size_t>(count);
    fProgress = Clock::now();
    if (!hasOutput() || fSent > fOutput.size() / 2)
    {
        fOutput.erase(0, fSent);
        fSent = 0;
    }
}

void PConnection::finish() noexcept
{
    fFinishing = true;
}

bool PConnection::hasOutput() const noexcept
{
    return fSent < fOutput.size();
}

std::size_t PConnection::outputSize() const noexcept
{
    return fOutput.size() - fSent;
}

bool PConnection::wantsInput() const noexcept
{
    return !fFinishing && !fBroken;
}

bool PConnection::isOver(Clock::time_point iNow) const
{
    if (fBroken || !hasOutput())
    {
        return fBroken || fFinishing;
    }
    return iNow - fProgress >= std::chrono::seconds(fSettings.stallSeconds);
}
