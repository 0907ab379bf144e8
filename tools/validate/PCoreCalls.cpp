// SPDX-License-Identifier: MIT
#include "validate/PCoreCalls.h"

#include "Ixla.h"
#include "helpers/Text.h"

#include <dlfcn.h>
#include <mutex>

namespace
{
std::mutex sMutex;
bool sIsRecording = false;            ///< guarded by sMutex
std::vector<PCoreCalls::Call> sCalls; ///< guarded by sMutex
IConfigManager* sManager = nullptr;   ///< guarded by sMutex
PCoreCalls::Judge sIsMeant = nullptr; ///< guarded by sMutex

/// The function of the library that iSymbol names.
template <class TFunction>
TFunction* _next(const char* iSymbol)
{
    return reinterpret_cast<TFunction*>(::dlsym(RTLD_NEXT, iSymbol));
}
} // namespace

void PCoreCalls::begin()
{
    const std::lock_guard<std::mutex> lock(sMutex);
    sCalls.clear();
    sIsRecording = true;
}

std::vector<PCoreCalls::Call> PCoreCalls::end()
{
    const std::lock_guard<std::mutex> lock(sMutex);
    sIsRecording = false;
    return sCalls;
}

void PCoreCalls::replaceManager(IConfigManager* iManager, Judge iIsMeant)
{
    const std::lock_guard<std::mutex> lock(sMutex);
    sManager = iManager;
    sIsMeant = iIsMeant;
}

void PCoreCalls::add(const std::string& iText, const void* iCaller)
{
    const std::lock_guard<std::mutex> lock(sMutex);
    if (sIsRecording)
    {
        sCalls.push_back({iText, iCaller, std::this_thread::get_id()});
    }
}

IConfigManager* PCoreCalls::managerFor(const void* iCaller)
{
    const std::lock_guard<std::mutex> lock(sMutex);
    return sManager && sIsMeant(iCaller) ? sManager : nullptr;
}

int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    static const auto sNext =
        _next<decltype(ixlaGetInstance)>("_Z15ixlaGetInstanceRK8PLiteralRP5IBase");
    const void* const caller = __builtin_return_address(0);
    PCoreCalls::add("ixlaGetInstance(\"" + ixlaNarrow(iInterfaceId) + "\")", caller);
    const int result = sNext(iInterfaceId, oInstance);
    IConfigManager* const manager = iInterfaceId == kIxlaConfigManagerId && result == eIxlaOk
                                        ? PCoreCalls::managerFor(caller)
                                        : nullptr;
    if (manager)
    {
        oInstance = manager;
    }
    return result;
}

bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId)
{
    static const auto sNext =
        _next<decltype(ixlaIsInterfaceAvailable)>("_Z24ixlaIsInterfaceAvailableRK8PLiteral");
    PCoreCalls::add("ixlaIsInterfaceAvailable(\"" + ixlaNarrow(iInterfaceId) + "\")",
                    __builtin_return_address(0));
    return sNext(iInterfaceId);
}

int ixlaUnloadPlugin(IPlugin* iPlugin)
{
    static const auto sNext = _next<decltype(ixlaUnloadPlugin)>("_Z16ixlaUnloadPluginP7IPlugin");
    PCoreCalls::add("ixlaUnloadPlugin", __builtin_return_address(0));
    return sNext(iPlugin);
}

int ixlaStop()
{
    static const auto sNext = _next<decltype(ixlaStop)>("_Z8ixlaStopv");
    PCoreCalls::add("ixlaStop", __builtin_return_address(0));
    return sNext();
}
