// SPDX-License-Identifier: MIT
#include "control/PCommands.h"

#include "control/HostCheck.h"
#include "control/HostStatus.h"
#include "control/PHostLogs.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"

#include <climits>
#include <exception>
#include <functional>
#include <utility>

namespace
{
constexpr char kSharedLog[] = "ixlaplugins.log";
constexpr long long kMostLines = 1000;
constexpr long long kUsualLines = 10;
constexpr long long kHighestLevel = 1000000;

/// The cache and the holder of the caller; see ILogger::getLogger.
constexpr unsigned int kUnusedHolders = 2;

void _begin(PJsonObject& ioReply)
{
    ioReply.number("v", kProtocolVersion);
}

/// Sets the level of a log that a plugin uses. Opening a log that no plugin holds would create it.
int _setNamedLevel(ILogger& ioShared, const std::string& iName, int iLevel)
{
    PBaseptr<ILogger> logger;
    const int result = ioShared.getLogger(ixlaWide(iName), logger);
    if (result != eIxlaOk)
    {
        return result;
    }
    if (!logger)
    {
        throw PRequestError(kRefused,
                            "the logs of plugins are disabled by core.plugins.log.enable");
    }
    if (logger.holders() <= kUnusedHolders)
    {
        throw PRequestError(kNotFound, "no plugin uses the log \"" + iName + "\" now");
    }
    return logger->setLevel(iLevel);
}
} // namespace

PCommands::PCommands(const PControlServices& iServices, const PControlSettings& iSettings)
    : fServices(iServices), fSettings(iSettings), fConfig(iServices)
{
}

std::string PCommands::answer(const std::string& iLine, PConnection& ioConnection)
{
    try
    {
        const PRequest request(iLine);
        PJsonObject reply;
        _begin(reply);
        reply.flag("ok", true).text("op", request.operation());
        return reply.object("result", perform(request, ioConnection)).str();
    }
    catch (const PRequestError& error)
    {
        return errorReply(error);
    }
    catch (const std::exception& problem)
    {
        return errorReply(PRequestError(kFailed, problem.what()));
    }
}

std::string PCommands::errorReply(const PRequestError& iError)
{
    PJsonObject reply;
    _begin(reply);
    reply.flag("ok", false).text("error", iError.kind()).text("text", iError.what());
    if (iError.code() != 0)
    {
        reply.number("code", iError.code());
    }
    return reply.str();
}

std::string PCommands::noticeLine(const PNotice& iNotice, const PWatches& iWatches)
{
    PJsonObject line;
    _begin(line);
    if (!iNotice.isChange)
    {
        line.text("notice", "event").text("topic", ixlaNarrow(iNotice.name));
        return line.number("number", iNotice.number).flag("object", iNotice.hasObject).str();
    }
    line.text("notice", "config").text("id", ixlaNarrow(iNotice.name));
    line.text("key", ixlaNarrow(iNotice.key));
    const PBaseptr<IConfig> config = iWatches.configOf(iNotice.name);
    PString value;
    int result = eIxlaNotFound;
    if (iNotice.attribute.len() > 0)
    {
        line.text("attribute", ixlaNarrow(iNotice.attribute));
        result = config ? config->getAttrString(iNotice.key, iNotice.attribute, value) : result;
    }
    else
    {
        result = config ? config->getString(iNotice.key, value) : result;
    }
    return (result == eIxlaOk ? line.text("value", ixlaNarrow(value)) : line.null("value")).str();
}

std::string PCommands::logLine(const std::string& iLog, const std::string& iText)
{
    PJsonObject line;
    _begin(line);
    return line.text("notice", "log").text("log", iLog).text("text", iText).str();
}

std::string PCommands::stoppingLine()
{
    PJsonObject line;
    _begin(line);
    return line.text("notice", "stopping").str();
}

PJsonObject PCommands::perform(const PRequest& iRequest, PConnection& ioConnection)
{
    typedef PJsonObject (PCommands::*Operation)(const PRequest&, PConnection&);
    static constexpr std::pair<const char*, Operation> kOperations[] = {
        {"status", &PCommands::status},
        {"check", &PCommands::check},
        {"get", &PCommands::ofConfig<&PConfigCommands::get>},
        {"explain", &PCommands::ofConfig<&PConfigCommands::explain>},
        {"describe", &PCommands::ofConfig<&PConfigCommands::describe>},
        {"set", &PCommands::ofConfig<&PConfigCommands::set>},
        {"unset", &PCommands::ofConfig<&PConfigCommands::unset>},
        {"watch", &PCommands::watch},
        {"log-level", &PCommands::setLevel},
        {"log-tail", &PCommands::tail},
        {"event-send", &PCommands::sendEvent},
        {"event-watch", &PCommands::watch},
    };
    for (const auto& [name, operation] : kOperations)
    {
        if (iRequest.operation() == name)
        {
            return std::invoke(operation, *this, iRequest, ioConnection);
        }
    }
    throw PRequestError(kBadRequest, "unknown operation \"" + iRequest.operation() + "\"");
}

template <auto TOperation>
PJsonObject PCommands::ofConfig(const PRequest& iRequest, PConnection&)
{
    return (fConfig.*TOperation)(iRequest);
}

PJsonObject PCommands::status(const PRequest& iRequest, PConnection&)
{
    iRequest.allow({});
    return statusOfHost(fServices, fSettings);
}

PJsonObject PCommands::check(const PRequest& iRequest, PConnection&)
{
    iRequest.allow({});
    std::vector<PJsonObject> list;
    for (const HostFinding& finding : checkHost(fServices))
    {
        PJsonObject entry;
        entry.text("what", finding.what).text("where", finding.where);
        list.push_back(entry.text("remedy", finding.remedy));
    }
    PJsonObject reply;
    reply.flag("healthy", list.empty());
    return reply.list("findings", list);
}

PJsonObject PCommands::watch(const PRequest& iRequest, PConnection& ioConnection)
{
    const bool isEvent = iRequest.operation() == "event-watch";
    const char* const member = isEvent ? "topic" : "id";
    iRequest.allow({member});
    const std::string name = iRequest.text(member);
    if (isEvent)
    {
        ioConnection.watches().watchEvents(ixlaWide(name));
    }
    else
    {
        ioConnection.watches().watchConfig(*fServices.manager, ixlaWide(name));
    }
    PJsonObject reply;
    return reply.text(member, name);
}

std::string PCommands::logPath(const std::string& iName) const
{
    const std::string directory = ixlaNarrow(fServices.shared(L"core.plugins.log.dir"));
    return PHostLogs().pathOf(iName, directory);
}

PJsonObject PCommands::setLevel(const PRequest& iRequest, PConnection&)
{
    iRequest.allow({"log", "level"});
    const std::string name = iRequest.text("log");
    const auto level = static_cast<int>(iRequest.number("level", 0, kHighestLevel));
    (void)logPath(name); // refuses a name without a log
    const std::optional<HostLog> core = PHostLogs().core();
    if (name == "core" || (core && core->name == name))
    {
        throw PRequestError(kRefused, "the level of the core log is set by core.log.level at the "
                                      "start only");
    }
    const int result = name == kSharedLog ? fServices.logger->setLevel(level)
                                          : _setNamedLevel(*fServices.logger, name, level);
    if (result != eIxlaOk)
    {
        throw PRequestError(kFailed, "cannot set the level: " + ixlaResultText(result), result);
    }
    PJsonObject reply;
    return reply.text("log", name).number("level", level);
}

PJsonObject PCommands::tail(const PRequest& iRequest, PConnection& ioConnection)
{
    iRequest.allow({"log", "lines", "follow"});
    const std::string name = iRequest.text("log");
    const long long lines = iRequest.optionalNumber("lines", 0, kMostLines, kUsualLines);
    PLogTail log(name, logPath(name));
    PJsonObject reply;
    reply.text("log", name);
    reply.texts("lines", log.last(static_cast<std::size_t>(lines), fSettings.queueSize / 2));
    if (iRequest.optionalFlag("follow"))
    {
        ioConnection.watches().follow(std::move(log));
    }
    return reply;
}

// The plugins would end their threads at the exit event, this one included.
PJsonObject PCommands::sendEvent(const PRequest& iRequest, PConnection&)
{
    iRequest.allow({"topic", "number"});
    const std::string topic = iRequest.text("topic");
    const auto number = static_cast<int>(iRequest.number("number", INT_MIN, INT_MAX));
    const PString name = ixlaWide(topic);
    if (name == kIxlaCoreStartTopic || name == kIxlaCoreExitTopic)
    {
        throw PRequestError(kRefused, "only the core sends " + topic);
    }
    const int result = fServices.dispatcher->send(name, nullptr, number);
    if (result != eIxlaOk && result != eIxlaNoListener)
    {
        throw PRequestError(kFailed, "cannot send: " + ixlaResultText(result), result);
    }
    PJsonObject reply;
    return reply.text("topic", topic).number("number", number).flag("listeners", result == eIxlaOk);
}
