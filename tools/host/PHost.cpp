// SPDX-License-Identifier: MIT
#include "host/PHost.h"

#include "Ixla.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "host/PNotifySocket.h"
#include "shared/PKeyCheck.h"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace
{
void _complain(const std::string& iText)
{
    std::cerr << "ixla-host: " << iText << std::endl;
}

std::string _systemText(int iError)
{
    return std::generic_category().message(iError);
}

void _notify(const char* iState)
{
    if (const int error = PNotifySocket::send(iState))
    {
        _complain("cannot send " + std::string(iState) +
                  " to NOTIFY_SOCKET: " + _systemText(error));
    }
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

PHost::PHost(const PHostOptions& iOptions, PStandardOutput& ioOutput)
    : fOptions(iOptions), fOutput(ioOutput), fReadyFile(iOptions.fReadyFile)
{
}

PHost::~PHost()
{
    if (fStarted)
    {
        ixlaStop(); // its result is ignored: the exception is reported
    }
}

EExitCode PHost::run()
{
    if (const int error = fReadyFile.prepare())
    {
        return complainOfReadyFile(error);
    }
    EExitCode code = start();
    if (code != eExitOk)
    {
        return code;
    }
    if (!fSignals.hasCome())
    {
        code = initialise();
    }
    if (code == eExitOk && !fSignals.hasCome())
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
        _complain("warning: " + finding);
    }
    return findings.size();
}

EExitCode PHost::start()
{
    // The start goes on without these keys.
    static_cast<void>(complainOfKeys());
    const std::vector<PString>& arguments = fOptions.fCoreArguments;
    const int result = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    fStarted = result == eIxlaOk;
    if (fStarted)
    {
        return eExitOk;
    }
    _complain("the core did not start: " + ixlaResultText(result));
    tellLog();
    if (const char* const advice = _advise(result))
    {
        _complain(advice);
    }
    return eExitStartFailed;
}

EExitCode PHost::initialise() const
{
    const EExitCode code = findRequired();
    return code == eExitOk ? initialiseRequired() : code;
}

EExitCode PHost::findRequired() const
{
    EExitCode code = eExitOk;
    for (const std::string& id : fOptions.fRequired)
    {
        if (!ixlaIsInterfaceAvailable(ixlaWide(id)))
        {
            _complain("no plugin offers the required interface " + id);
            code = eExitInterfaceMissing;
        }
    }
    if (code != eExitOk)
    {
        _complain("ixla-inspect DIR shows which library offers what");
    }
    return code;
}

EExitCode PHost::initialiseRequired() const
{
    for (const std::string& id : fOptions.fRequired)
    {
        if (fSignals.hasCome())
        {
            return eExitOk;
        }
        IBase* instance = nullptr;
        const int result = ixlaGetInstance(ixlaWide(id), instance);
        if (result != eIxlaOk || !instance)
        {
            _complain("the required interface " + id + " did not initialise: " +
                      (result == eIxlaOk ? "no instance" : ixlaResultText(result)));
            tellLog();
            return eExitInterfaceFailed;
        }
    }
    return eExitOk;
}

EExitCode PHost::serve()
{
    if (const int error = fReadyFile.publish())
    {
        return complainOfReadyFile(error);
    }
    say("ready, process " + std::to_string(getpid()));
    _notify("READY=1");
    std::optional<std::chrono::seconds> limit;
    if (fOptions.fSeconds != PHostOptions::eNoLimit)
    {
        limit = std::chrono::seconds(fOptions.fSeconds);
    }
    fSignals.wait(limit);
    return eExitOk;
}

EExitCode PHost::stop(EExitCode iSoFar)
{
    const int error = fReadyFile.withdraw();
    const EExitCode code = error == 0 || iSoFar != eExitOk ? iSoFar : complainOfReadyFile(error);
    _notify("STOPPING=1");
    fStarted = false;
    const int result = ixlaStop();
    if (result == eIxlaOk)
    {
        const EExitCode said = say("stopped");
        return code == eExitOk ? said : code;
    }
    _complain("the stop failed: " + ixlaResultText(result));
    tellLog();
    return code == eExitOk ? eExitStopFailed : code;
}

// Flushes each line, for readers of a pipe.
EExitCode PHost::say(const std::string& iText)
{
    std::cout << "ixla-host: " << iText << '\n';
    const int error = fOutput.flush();
    return error == 0 || error == EPIPE ? eExitOk : eExitOutputFailed;
}

EExitCode PHost::complainOfReadyFile(int iError) const
{
    _complain("the ready file " + fOptions.fReadyFile +
              (iError == EEXIST ? " is not a regular file; choose another one"
                                : " cannot be written or removed: " + _systemText(iError)));
    return eExitReadyFile;
}

void PHost::tellLog() const
{
    const std::string path = fOptions.pathOf(L"core.log.file");
    const int error = access(path.c_str(), R_OK) == 0 ? 0 : errno;
    if (path.empty())
    {
        _complain("the argument core.log.file=FILE enables a log with the reason");
    }
    else if (error == 0)
    {
        _complain("the core log has the reason: " + path);
    }
    else
    {
        _complain(
            "there is no core log " + path + ": " + _systemText(error) +
            "; with LOG_IXLACORE=1 in the environment it also goes to the standard error stream");
    }
}
