// SPDX-License-Identifier: MIT
#include "host/PHost.h"

#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/ResultText.h"
#include "helpers/ServiceLookup.h"
#include "helpers/Text.h"
#include "host/HostMessages.h"
#include "host/PFilesCheck.h"
#include "host/PPluginsCheck.h"
#include "host/PStartStatus.h"
#include "host/PWatchdog.h"
#include "shared/PCoreSettings.h"
#include "shared/PKeyCheck.h"
#include "shared/PStoreCopies.h"

#include <cerrno>
#include <ctime>
#include <unistd.h>
#include <utility>

namespace
{
long _secondsEastOfUtc()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    return local.tm_gmtoff;
}

/// Advice for a failed start; null if only the log has the reason.
const char* _advise(int iResult)
{
    switch (iResult)
    {
    case eIxlaMissingCoreKey:
        return "core.plugins.config.dir and core.plugins.log.dir are required, in the property "
               "file "
               "or as arguments";
    case eIxlaNoPluginsDir:
        return "core.plugins.dir is required, in the property file or as an argument";
    case eIxlaCoreConfigFailed:
        return "the property file must exist and have \"=\" in every line; ixla-config check "
               "FILE finds the mistakes";
    case eIxlaInterfaceRegistered:
    case eIxlaNullPlugin:
    case -ENOEXEC:
        return "ixla-inspect DIR shows which library is faulty, and why";
    default:
        return nullptr;
    }
}
} // namespace

PHost::PHost(PHostProcess& ioProcess, PServing& ioServing, std::string iPluginsDir)
    : fOptions(ioProcess.options()),
      fProcess(ioProcess),
      fServing(ioServing),
      fPluginsDir(std::move(iPluginsDir)),
      fPlugins(std::make_unique<PPluginTable>()),
      fLogPlace(fOptions),
      fLog(fLogPlace.path(), *fPlugins),
      fFatalSignals({*fPlugins, fLogPlace.path(), !fLogPlace.file().empty(), fLog.begin(),
                     _secondsEastOfUtc()})
{
}

PHost::~PHost()
{
    if (fStarted)
    {
        ixlaStop(); // its result is ignored: the exception is reported
    }
}

EHostExit PHost::run()
{
    if (const int error = fProcess.readyFile().prepare())
    {
        return complainOfReadyFile(error);
    }
    EHostExit code = start();
    if (code != eExitOk)
    {
        return code;
    }
    code = check();
    if (code == eExitOk && !fProcess.signals().hasCome())
    {
        code = initialise();
    }
    if (code == eExitOk && !fProcess.signals().hasCome())
    {
        code = serve();
    }
    return stop(code);
}

std::size_t PHost::complainOfKeys() const
{
    std::vector<std::string> findings = PKeyCheck::checkArguments(fOptions.fCoreArguments);
    const std::vector<std::string> ofFile =
        PKeyCheck::checkPropertyFile(ixlaWide(fOptions.pathOf(L"core.prs.file")));
    findings.insert(findings.end(), ofFile.begin(), ofFile.end());
    for (const std::string& finding : findings)
    {
        complain("warning: " + finding);
    }
    return findings.size();
}

EHostExit PHost::complainOfPlugins()
{
    fInfo.emplace(fOptions);
    for (const std::string& text : fInfo->newer())
    {
        complain("warning: " + text);
    }
    const std::vector<PDegradation> found = fInfo->beforeStart();
    for (const PDegradation& finding : found)
    {
        complain("warning: " + finding.text);
    }
    return found.empty() ? eExitOk : found.front().code;
}

void PHost::keepStore() const
{
    const std::string path = PCoreSettings(fOptions.fCoreArguments).storePath();
    if (fOptions.fStoreCopies == 0 || path.empty())
    {
        return;
    }
    try
    {
        const std::string loss = PStoreCopies(path).keep(fOptions.fStoreCopies);
        if (!loss.empty())
        {
            complain("warning: " + loss);
        }
    }
    catch (const PFileError& error)
    {
        complain("warning: the store is not copied: " + std::string(error.what()));
    }
}

EHostExit PHost::start()
{
    if (complainOfKeys() > 0 && fOptions.fStrict)
    {
        complain("--strict refuses these keys; the core was not started");
        return eExitKeys;
    }
    const EHostExit misfit = complainOfPlugins();
    if (misfit != eExitOk && fOptions.fStrict)
    {
        complain("--strict refuses these plugins; the core was not started");
        return misfit;
    }
    // Before the core, which may write the store.
    keepStore();
    std::vector<PString> arguments = fLogPlace.arguments();
    if (!fPluginsDir.empty())
    {
        arguments.push_back(ixlaWide("core.plugins.dir=" + fPluginsDir));
    }
    int result = eIxlaOk;
    {
        const PStartStatus status(fLog, *fPlugins);
        result = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
        fStatus = status.hasSent() ? "Ready" : "";
    }
    fStarted = result == eIxlaOk;
    fLog.poll();
    if (fStarted)
    {
        return eExitOk;
    }
    complainOfStart(result);
    return eExitStartFailed;
}

void PHost::complainOfStart(int iResult)
{
    complain("the core did not start: " + ixlaResultText(iResult));
    if (*fPlugins->loading())
    {
        complain(std::string("it was loading ") + fPlugins->loading());
    }
    tellErrors();
    if (iResult == eIxlaInvalidArgument &&
        !PKeyCheck::checkArguments(fOptions.fCoreArguments).empty())
    {
        complain("correct the arguments of the warnings above");
        return;
    }
    tellLog();
    if (const char* const advice = _advise(iResult))
    {
        complain(advice);
    }
}

/// Reports what is missing from the start. Returns eExitOk unless that is a failure.
EHostExit PHost::check()
{
    int result = eIxlaOk;
    // Held, because a plugin may stop the core meanwhile.
    const PBaseptr<IConfigManager> manager =
        ixlaService<IConfigManager>(kIxlaConfigManagerId, result);
    if (!manager)
    {
        complain("the configuration manager cannot be asked: " + ixlaResultText(result));
        return eExitHostFailed;
    }
    const PCoreConfig config(*manager, fOptions);
    std::vector<PDegradation> found =
        PPluginsCheck(config, fLog, fLogPlace.file(), fPluginsDir).run();
    for (const std::vector<PDegradation>& more :
         {PFilesCheck::checkLog(fLogPlace, fLog), PFilesCheck(config).run(), fInfo->afterStart()})
    {
        found.insert(found.end(), more.begin(), more.end());
    }
    for (const PDegradation& degradation : found)
    {
        complain("degraded: " + degradation.text);
    }
    if (!found.empty())
    {
        fStatus =
            "Ready, degraded in " + std::to_string(found.size()) + " places: " + found.front().text;
    }
    return found.empty() || !fOptions.fStrict ? eExitOk : found.front().code;
}

EHostExit PHost::initialise()
{
    const EHostExit code = findRequired();
    return code == eExitOk ? initialiseRequired() : code;
}

EHostExit PHost::findRequired() const
{
    EHostExit code = eExitOk;
    for (const std::string& id : fOptions.fRequired)
    {
        if (!ixlaIsInterfaceAvailable(ixlaWide(id)))
        {
            complain("no plugin offers the required interface " + id);
            code = eExitInterfaceMissing;
        }
    }
    if (code != eExitOk)
    {
        complain("ixla-inspect DIR shows which library offers what");
    }
    return code;
}

EHostExit PHost::initialiseRequired()
{
    for (const std::string& id : fOptions.fRequired)
    {
        if (fProcess.signals().hasCome())
        {
            return eExitOk;
        }
        IBase* instance = nullptr;
        const int result = ixlaGetInstance(ixlaWide(id), instance);
        if (result != eIxlaOk || !instance)
        {
            complain("the required interface " + id + " did not initialise: " +
                     (result == eIxlaOk ? "no instance" : ixlaResultText(result)));
            fLog.poll();
            tellErrors();
            tellLog();
            return eExitInterfaceFailed;
        }
    }
    return eExitOk;
}

EHostExit PHost::serve()
{
    if (const int error = fProcess.readyFile().publish())
    {
        return complainOfReadyFile(error);
    }
    fLogPlace.endMemory();
    fProcess.say(fServing.begin());
    notifyManager("READY=1");
    if (fStatus.empty() && fOptions.fWatch)
    {
        fStatus = "Ready"; // replaces that of an earlier core
    }
    if (!fStatus.empty())
    {
        notifyManager("STATUS=" + fStatus);
    }
    const PWatchdog watchdog(PWatchdog::eCore);
    fServing.wait();
    return eExitOk;
}

EHostExit PHost::stop(EHostExit iSoFar)
{
    const int error = fProcess.readyFile().withdraw();
    const EHostExit code = error == 0 || iSoFar != eExitOk ? iSoFar : complainOfReadyFile(error);
    const bool goesOn = fServing.goesOn();
    if (!goesOn)
    {
        notifyManager("STOPPING=1");
    }
    fStarted = false;
    const int result = ixlaStop();
    if (result == eIxlaOk)
    {
        const EHostExit said = goesOn ? eExitOk : fProcess.say("stopped");
        return code == eExitOk ? said : code;
    }
    complain("the stop failed: " + ixlaResultText(result));
    tellLog();
    return code == eExitOk ? eExitStopFailed : code;
}

EHostExit PHost::complainOfReadyFile(int iError) const
{
    complain("the ready file " + fOptions.fReadyFile +
             (iError == EEXIST ? " is not a regular file; choose another one"
                               : " cannot be written or removed: " + systemText(iError)));
    return eExitReadyFile;
}

/// Prints the new error lines of the core's log.
void PHost::tellErrors()
{
    for (const std::string& error : fLog.takeErrors())
    {
        complain("the core reports: " + error);
    }
}

void PHost::tellLog() const
{
    const std::string& path = fLogPlace.file();
    const int error = access(path.c_str(), R_OK) == 0 ? 0 : errno;
    if (path.empty())
    {
        complain("the argument core.log.file=FILE enables a log with all details");
    }
    else if (error == 0)
    {
        complain("the core log has the reason: " + path);
    }
    else
    {
        complain("there is no core log " + path + ": " + systemText(error) +
                 "; correct the argument core.log.file");
    }
}
