// SPDX-License-Identifier: MIT
#include "control/PStartKeys.h"

#include "control/ProcessFacts.h"
#include "helpers/Text.h"
#include "shared/PluginFiles.h"
#include "shared/ToolTexts.h"

namespace
{
constexpr char kPropertyKey[] = "core.prs.file";

/// The arguments of the core on the command line. "--prs FILE" of ixla-host counts as
/// core.prs.file.
std::vector<PString> _coreArguments()
{
    std::vector<PString> found;
    std::string previous;
    for (const std::string& argument : argumentsOfProcess())
    {
        const bool isKey = argument.rfind("core.", 0) == 0 || argument.rfind("custom.", 0) == 0;
        if (isKey && argument.find('=') != std::string::npos)
        {
            found.push_back(ixlaWide(argument));
        }
        else if (argument.rfind("--prs=", 0) == 0)
        {
            found.push_back(ixlaWide(kPropertyKey + argument.substr(sizeof("--prs") - 1)));
        }
        else if (previous == "--prs")
        {
            found.push_back(ixlaWide(std::string(kPropertyKey) + "=" + argument));
        }
        previous = argument;
    }
    return found;
}
} // namespace

PStartKeys::PStartKeys(const PControlServices& iServices, const PCoreLog& iLog) : fLog(iLog)
{
    const std::vector<PString> arguments = _coreArguments();
    IConfigManager& manager = *iServices.manager;
    if (arguments.empty() || manager.loadByArgs(arguments, fArguments) != 0 ||
        manager.loadByArgs(arguments, fKeys) != 0)
    {
        return;
    }
    fPropertyFile = value(kPropertyKey);
    if (fPropertyFile.empty())
    {
        return;
    }
    fPropertyResult = manager.appendByFile(ixlaWide(fPropertyFile), fKeys);
    // Arguments take precedence over the file. They were read before, so they can be read.
    (void)manager.appendByArgs(arguments, fKeys);
}

std::string PStartKeys::logged(const std::string& iKey) const
{
    if (iKey == "core.plugins.dir")
    {
        return fLog.pluginsDir();
    }
    if (iKey == "core.load.plugin.list")
    {
        return fLog.loadList();
    }
    return iKey == "core.autostart.list" ? fLog.autostartList() : "";
}

std::string PStartKeys::value(const char* iKey) const
{
    PString text;
    const bool found = fKeys && fKeys->getString(ixlaWide(iKey), text) == 0;
    return found ? ixlaNarrow(text) : logged(iKey);
}

std::string PStartKeys::argument(const char* iKey) const
{
    PString text;
    const bool found = fArguments && fArguments->getString(ixlaWide(iKey), text) == 0;
    return found ? ixlaNarrow(text) : "";
}

std::vector<std::string> PStartKeys::libraries(const char* iKey) const
{
    std::vector<std::string> names;
    for (const PString& name : namesOf(ixlaWide(value(iKey))))
    {
        names.push_back(ixlaNarrow(pluginFile(name)));
    }
    return names;
}

const std::string& PStartKeys::propertyFile() const noexcept
{
    return fPropertyFile;
}

int PStartKeys::propertyResult() const noexcept
{
    return fPropertyResult;
}
