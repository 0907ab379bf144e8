// SPDX-License-Identifier: MIT
// A plugin whose library exports what EXPORTS stands before.

#include "helpers/PPlugin.h"

#ifndef EXPORTS
#define EXPORTS
#endif

EXPORTS int sExportedNumber = 1;

namespace exporting
{
EXPORTS int exportedFunction()
{
    return sExportedNumber;
}
} // namespace exporting

namespace
{
class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        return exporting::exportedFunction() == 1 ? eIxlaOk : eIxlaInvalidArgument;
    }
};

class ExportingPlugin : public PPlugin
{
public:
    ExportingPlugin()
    {
        offer<Service>(L"test.exporting");
    }
};
} // namespace

IXLA_PLUGIN(ExportingPlugin)
