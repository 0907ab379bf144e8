// SPDX-License-Identifier: MIT
// Start: what the plugins of this directory share. Their start takes long enough to look at.
#ifndef IXLAL_EXAMPLES_START_H
#define IXLAL_EXAMPLES_START_H

#include "IBase.h"
#include "helpers/ServiceLookup.h"

#include <chrono>
#include <thread>

constexpr wchar_t kStorageId[] = L"com.example.ixla.storage";
constexpr wchar_t kNetworkId[] = L"com.example.ixla.network";
constexpr wchar_t kFrontendId[] = L"com.example.ixla.frontend";

/// Stands for work that takes so long, such as opening a database.
inline void pretendToWork(int iMilliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(iMilliseconds));
}

/// Returns after the plugin behind the ID is initialised, with the result.
inline int initialise(const PLiteral& iId)
{
    int result = eIxlaOk;
    ixlaService<IBase>(iId, result);
    return result;
}

#endif
