#include "core/PCorePlugin.h"

PCorePlugin::PCorePlugin() noexcept
    : fInterfaceCount(0),
      fInitState(eNotInitialised),
      fInitThreadId(0),
      fInitOrder(0),
      fUses(0),
      fUnloaded(false),
      fNumber(0)
{
}

PCorePlugin::~PCorePlugin()
{
    releasePlugin();
    fLibrary.clear();
}

void PCorePlugin::releasePlugin()
{
    fInterfaceCount = 0;
    fInterfaceIDs.clear();
    fPlugin.clear();
}
