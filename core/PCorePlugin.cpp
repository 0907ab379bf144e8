// SPDX-License-Identifier: MIT
#include "core/PCorePlugin.h"

#include "PGuarded.h"
#include "core/PCoreLog.h"

#include <cwchar>

PCorePlugin::PCorePlugin(const PCoreLog* iLog) noexcept
    : fInterfaceCount(0),
      fInitState(eNotInitialised),
      fInitThreadId(0),
      fInitOrder(0),
      fUses(0),
      fUnloaded(false),
      fReady(false),
      fNumber(0),
      fNextUnloaded(nullptr),
      fFileHash(0),
      fLog(iLog)
{
}

PCorePlugin::~PCorePlugin()
{
    fInterfaceCount = 0;
    fInterfaceIDs.clear();
    releasePlugin();
    fLibrary.clear();
}

void PCorePlugin::releasePlugin()
{
    void* const plugin = fPlugin.get();
    if (ixlaReleased(fPlugin) || !fLibrary)
    {
        return;
    }
    fLibrary->keepLoaded();
    PLogger::error(fLog ? fLog->logger() : nullptr, 0,
                   L"[releasePlugin][pg:%p] Plugin threw an exception when it was released, its "
                   L"library stays loaded: %ls",
                   plugin, fLibrary->getName().ptr());
}

const wchar_t* PCorePlugin::fileName() const noexcept
{
    const wchar_t* const path = fLibrary->getName().ptr();
    const wchar_t* const slash = std::wcsrchr(path, L'/');
    return slash ? slash + 1 : path;
}
