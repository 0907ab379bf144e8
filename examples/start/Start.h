// SPDX-License-Identifier: MIT
// Start: shared code of the plugins in this directory, whose start is slow enough to draw.
#ifndef IXLAL_EXAMPLES_START_H
#define IXLAL_EXAMPLES_START_H

#include "IBase.h"
#include "helpers/ServiceLookup.h"

#include <chrono>
#include <thread>

constexpr wchar_t kStorageId[] = L"com.example.ixla.storage";
constexpr wchar_t kNetworkId[] = L"com.example.ixla.network";
constexpr wchar_t kFrontendId[] = L"com.example.ixla.frontend";

/// Sleeps, as a substitute for slow work such as opening a database.
inline void pretendToWork(int iMilliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(iMilliseconds));
}

/// Initialises the plugin behind an ID; returns the result.
inline int initialise(const PLiteral& iId)
{
    int result = eIxlaOk;
    ixlaService<IBase>(iId, result);
    return result;
}

#endif
