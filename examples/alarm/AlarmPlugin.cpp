#include "Ixla.h"
#include "alarm/PAlarm.h"
#include "shared/PServicePlugin.h"

#include <new>

IPlugin* ixlaGetPlugin()
{
    return new (std::nothrow) PServicePlugin<PAlarm>(kAlarmId);
}
