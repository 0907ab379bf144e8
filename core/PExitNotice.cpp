// SPDX-License-Identifier: MIT
#include "core/PExitNotice.h"

void PExitNotice::sending() noexcept
{
    change(eSending);
}

bool PExitNotice::beginReport() noexcept
{
    int expected = eSending;
    return fState.compare_exchange_strong(expected, eReporting);
}

void PExitNotice::done() noexcept
{
    change(eDone);
}

bool PExitNotice::abandon() noexcept
{
    int expected = eSending;
    return fState.compare_exchange_strong(expected, eAbandoned) || expected == eDone ||
           expected == eAbandoned;
}

bool PExitNotice::isAbandoned() const noexcept
{
    return fState == eAbandoned;
}

void PExitNotice::abandonOrAwait() noexcept
{
    int state = fState;
    while (!abandon())
    {
        fState.wait(state);
        state = fState;
    }
}

void PExitNotice::change(EState iState) noexcept
{
    fState = iState;
    fState.notify_all();
}
