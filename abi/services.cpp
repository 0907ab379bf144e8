// SPDX-License-Identifier: MIT
// What the headers alone decide of the binary interface: the interfaces, the holders, the counters
// and the codes. scripts/check-abi.sh compiles this file to describe them, because the functions
// that the libraries export name few of them. It is never run.

#include "IBase.h"
#include "IConfig.h"
#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "logger/PLogger.h"
#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PCounter.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PDir.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PLibrary.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PString.h"
#include "portinglayer/PThread.h"

// A class is described in full where it is instantiated, and any other one where it is named.
template class PBaseptr<IBase>;
template class PBaseptr<IConfig>;
template class PBaseptr<IConfigChanged>;
template class PBaseptr<IConfigManager>;
template class PBaseptr<IEventDispatcher>;
template class PBaseptr<IEventListener>;
template class PBaseptr<ILogger>;
template class PBaseptr<IPlugin>;
template class PPtr<PLibrary>;
template class PPtr<PString>;
template class PShortString<127>;

IXLA_EXPORT void interfaces(IBase*, IPlugin*, IConfig*, IConfigManager*, IConfigChanged*,
                            IEventDispatcher*, IEventListener*, ILogger*)
{
}

IXLA_EXPORT void holders(PBaseptr<IBase>*, PBaseptr<IConfig>*, PBaseptr<IConfigChanged>*,
                         PBaseptr<IConfigManager>*, PBaseptr<IEventDispatcher>*,
                         PBaseptr<IEventListener>*, PBaseptr<ILogger>*, PBaseptr<IPlugin>*,
                         PPtr<PLibrary>*, PPtr<PString>*)
{
}

IXLA_EXPORT void texts(PLiteral*, PString*, PShortString<127>*, PCounter*, PCounterSync*)
{
}

IXLA_EXPORT void system(PLogger*, PConditionalVar*, PDir*, PFile*, PLibrary*, PMutex*, PThread*)
{
}

IXLA_EXPORT void codes(EIxlaResult, EPtrType, PFile::EMode)
{
}
