// SPDX-License-Identifier: MIT
#include "host/PCoreConfig.h"

#include "helpers/Text.h"
#include "shared/ToolTexts.h"

// Results are not checked: the core has read the same texts before it started. A key that cannot be
// read counts as one without a value.
PCoreConfig::PCoreConfig(IConfigManager& ioManager, const PHostOptions& iOptions)
    : fManager(ioManager), fOptions(iOptions)
{
    const std::vector<PString>& arguments = iOptions.fCoreArguments;
    const std::string file = iOptions.pathOf(L"core.prs.file");
    if (file.empty())
    {
        ioManager.loadByArgs(arguments, fConfig);
        return;
    }
    ioManager.loadByFile(ixlaWide(file), fConfig);
    if (fConfig)
    {
        ioManager.appendByArgs(arguments, fConfig);
    }
}

PString PCoreConfig::valueOf(const wchar_t* iKey) const
{
    PString value;
    if (fConfig)
    {
        fConfig->getString(iKey, value);
    }
    return value;
}

std::string PCoreConfig::placeOf(const wchar_t* iKey) const
{
    PString value;
    const std::string key = shownText(iKey);
    return fOptions.find(iKey, value) ? "the argument " + key
                                      : key + " in " + shownUtf8(fOptions.pathOf(L"core.prs.file"));
}

const PBaseptr<IConfig>& PCoreConfig::values() const
{
    return fConfig;
}

IConfigManager& PCoreConfig::manager() const
{
    return fManager;
}
