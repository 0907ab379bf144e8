#include "Ixla.h"
#include "reporter/PReporter.h"
#include "shared/PServicePlugin.h"

#include <new>

IPlugin* ixlaGetPlugin()
{
    return new (std::nothrow) PServicePlugin<PReporter>(L"com.example.ixla.reporter");
}
