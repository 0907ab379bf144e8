// SPDX-License-Identifier: MIT
#include "control/HostStatus.h"

#include "Ixla.h"
#include "control/LoadedLibraries.h"
#include "control/PCoreLog.h"
#include "control/PHostLogs.h"
#include "control/ProcessFacts.h"
#include "helpers/Text.h"

#include <filesystem>
#include <unistd.h>

namespace
{
/// A figure, or null for a negative one.
void _addFigure(PJsonObject& ioObject, const char* iName, long long iFigure)
{
    if (iFigure < 0)
    {
        ioObject.null(iName);
    }
    else
    {
        ioObject.number(iName, iFigure);
    }
}

PJsonObject _library(const LoadedLibrary& iLibrary, const PCoreLog& iLog)
{
    PJsonObject library;
    library.text("path", iLibrary.path);
    _addFigure(library, "size", iLibrary.size);
    library.text("buildId", iLibrary.buildId);
    const std::string name = std::filesystem::path(iLibrary.path).filename();
    if (const LoggedPlugin* const plugin = iLog.find(name))
    {
        library.texts("interfaces", plugin->interfaces).text("state", plugin->state);
    }
    return library;
}

void _addInterface(const std::string& iID, const std::string& iState,
                   std::vector<PJsonObject>& ioInterfaces)
{
    PJsonObject entry;
    ioInterfaces.push_back(entry.text("id", iID).text("state", iState));
}

/// The interfaces that are known without asking a plugin: those of the core log, or else the
/// configuration IDs for which there is a plugin. Asking for each adds lines to the core log.
std::vector<PJsonObject> _interfaces(const PControlServices& iServices, const PCoreLog& iLog)
{
    std::vector<PJsonObject> interfaces;
    for (const LoggedPlugin& plugin : iLog.plugins())
    {
        for (const std::string& id : plugin.interfaces)
        {
            _addInterface(id, plugin.state, interfaces);
        }
    }
    std::vector<PString> ids;
    if (!iLog.isComplete())
    {
        // Without a store there is no list.
        (void)iServices.manager->listIDs(ids);
    }
    for (const PString& id : ids)
    {
        if (ixlaIsInterfaceAvailable(id))
        {
            _addInterface(ixlaNarrow(id), "unknown", interfaces);
        }
    }
    return interfaces;
}

std::vector<PJsonObject> _threads()
{
    std::vector<PJsonObject> threads;
    for (const ThreadFacts& thread : threadsOfProcess())
    {
        PJsonObject entry;
        entry.number("id", thread.number).text("name", thread.name).text("state", thread.state);
        threads.push_back(entry);
    }
    return threads;
}

PJsonObject _memory()
{
    const MemoryFacts facts = memoryOfProcess();
    PJsonObject memory;
    _addFigure(memory, "resident", facts.resident);
    _addFigure(memory, "peak", facts.peak);
    _addFigure(memory, "private", facts.privateBytes);
    _addFigure(memory, "address", facts.address);
    return memory;
}

std::vector<PJsonObject> _logs(const PHostLogs& iLogs)
{
    std::vector<PJsonObject> logs;
    for (const HostLog& log : iLogs.all())
    {
        const LogContent content = PHostLogs::content(log.content);
        PJsonObject entry;
        entry.text("name", log.name).text("path", log.path).flag("core", log.isCore);
        entry.number("size", content.size);
        _addFigure(entry, "lines", content.isComplete ? content.lines : -1);
        _addFigure(entry, "lost", content.isComplete ? content.lost : -1);
        logs.push_back(entry);
    }
    return logs;
}

PJsonObject _limits(const PControlServices& iServices, const PControlSettings& iSettings)
{
    PJsonObject limits;
    limits.number("connections", iSettings.connections);
    limits.number("requestSize", iSettings.requestSize);
    limits.number("rate", iSettings.rate);
    limits.number("queueSize", iSettings.queueSize);
    limits.number("stallSeconds", iSettings.stallSeconds);
    for (const char* const name : {"level", "maxsize", "parts", "maxcount"})
    {
        int value = 0;
        const std::string key = std::string("core.plugins.log.") + name;
        if (iServices.global->getInt32(ixlaWide(key), value) == eIxlaOk)
        {
            limits.number(key, value);
        }
    }
    return limits;
}
} // namespace

PJsonObject statusOfHost(const PControlServices& iServices, const PControlSettings& iSettings)
{
    const PHostLogs logs;
    const std::optional<HostLog> core = logs.core();
    const PCoreLog log(core ? core->content : "");
    std::vector<PJsonObject> libraries;
    for (const LoadedLibrary& library : loadedLibraries())
    {
        libraries.push_back(_library(library, log));
    }
    PJsonObject status;
    status.text("version", IXLAL_VERSION).number("process", getpid());
    status.number("uptime", uptimeOfProcess()).flag("startKnown", log.isComplete());
    status.list("libraries", libraries).list("interfaces", _interfaces(iServices, log));
    status.list("threads", _threads()).object("memory", _memory()).list("logs", _logs(logs));
    return status.object("limits", _limits(iServices, iSettings));
}
