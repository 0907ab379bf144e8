// SPDX-License-Identifier: MIT
#include "host/PHostOptions.h"

#include "helpers/Text.h"
#include "host/EHostExit.h"
#include "portinglayer/PUtf8.h"
#include "portinglayer/PUtils.h"
#include "shared/PStoreCopies.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace
{
constexpr char kVersion[] = "ixla-host " IXLAL_VERSION;
constexpr char kDescription[] =
    "Runs the core with any set of plugins until a signal arrives.\n"
    "SIGINT, SIGTERM and SIGHUP stop it in an orderly way, a second signal ends it at once.\n";
constexpr char kFooter[] =
    "Exit codes:\n"
    "  0      stopped without errors\n"
    "  1      the core did not start, or the standard output cannot be written\n"
    "  2      the command line is wrong\n"
    "  3      no plugin offers a required interface\n"
    "  4      a required interface failed to initialise\n"
    "  5      the ready file cannot be written or removed\n"
    "  6      the stop failed\n"
    "  7      the host itself failed, for lack of memory or threads, or cannot watch\n"
    "  8      with --strict: the plugins directory cannot be read\n"
    "  9      with --strict: a name in a list of plugins matches nothing\n"
    "  10     with --strict: a plugin of the autostart list failed\n"
    "  11     with --strict: the core log cannot be written\n"
    "  12     with --strict: the store or a configuration file is ignored\n"
    "  13     a plugin ended the process with exit\n"
    "  14     with --strict: a key of the core is misspelt or misplaced, or its value is wrong\n"
    "  15     with --strict: a plugin requires an interface that no plugin offers\n"
    "  16     with --strict: two plugins offer the same interface\n"
    "  17     with --strict: plugins require each other in a circle\n"
    "  18     with --strict: a plugin needs a newer core\n"
    "  19     with --strict: the information of a plugin is damaged\n"
    "  128+N  a second signal, number N, ended the process\n"
    "\n"
    "Examples:\n"
    "  ixla-host --prs /etc/ixlal/core.prs --require com.example.ixla.hello\n"
    "  ixla-host --seconds 0 core.plugins.dir=plugins core.plugins.config.dir=config \\\n"
    "            core.plugins.log.dir=log core.log.file=core.log\n"
    "  ixla-host --strict --prs core.prs\n"
    "  ixla-host --watch --prs core.prs\n"
    "  ixla-host --prs core.prs --keep-store 5 --ready-file /run/ixlal.ready &";

std::string _checkArgument(const std::string& iArgument)
{
    const std::size_t equals = iArgument.find('=');
    const bool isKeyValue = iArgument.find_first_not_of(" \t") < equals;
    return isKeyValue && equals != std::string::npos ? "" : "'" + iArgument + "' is not KEY=VALUE";
}

std::string _checkText(const std::string& iText)
{
    return iText.empty() ? "the text is empty" : "";
}

/// Converts a decimal number; CLI11 would treat a leading 0 as octal.
int _toSeconds(const std::string& iText)
{
    int seconds = 0;
    if (PUtils::strToInt32(ixlaWide(iText), seconds) != 0 || seconds < 0)
    {
        throw CLI::ValidationError("--seconds", "'" + iText + "' is not a number of seconds");
    }
    return seconds;
}

std::string _toPath(const PLiteral& iPath)
{
    std::string bytes(iPath.len() * PUtf8::eMaxBytes + 1, '\0');
    const std::size_t length = PUtf8::encodePath(iPath.ptr(), iPath.len(), bytes.data());
    bytes.resize(length == PUtf8::eNoPath ? 0 : length);
    return bytes;
}
} // namespace

bool PHostOptions::parse(int iCount, const char* const* iArguments, int& oExitCode)
{
    CLI::App app(kDescription, "ixla-host");
    try
    {
        read(app, iCount, iArguments);
        return true;
    }
    catch (const CLI::ParseError& problem)
    {
        if (problem.get_exit_code() == 0)
        {
            oExitCode = app.exit(problem); // prints the help or the version
            return false;
        }
        std::cerr << "ixla-host: " << problem.what() << "; see ixla-host --help\n";
        oExitCode = eExitUsage;
        return false;
    }
}

void PHostOptions::read(CLI::App& ioApp, int iCount, const char* const* iArguments)
{
    std::string propertyFile;
    std::vector<std::string> arguments;
    ioApp.footer(kFooter);
    ioApp.set_version_flag("--version", kVersion, "Print the version and exit");
    ioApp
        .add_option("--prs", propertyFile,
                    "Property file of the core, the same as core.prs.file=FILE")
        ->option_text("FILE")
        ->check(_checkText);
    ioApp
        .add_option("--require", fRequired, "Interface that must exist and initialise; repeatable")
        ->option_text("ID")
        ->allow_extra_args(false)
        ->check(_checkText);
    ioApp
        .add_option("--ready-file", fReadyFile,
                    "File with the process number while everything is ready")
        ->option_text("FILE")
        ->check(_checkText);
    ioApp.add_flag("--strict", fStrict, "Treat a degraded start as a failed one");
    ioApp.add_flag("--watch", fWatch,
                   "Restart the core when a plugin or a configuration file changes");
    ioApp
        .add_option_function<std::string>(
            "--seconds", [this](const std::string& text) { fSeconds = _toSeconds(text); },
            "Stop N seconds after everything is ready")
        ->option_text("N");
    ioApp
        .add_option("--keep-store", fStoreCopies,
                    "Copy the store before the start, and keep N copies")
        ->option_text("N")
        ->check(CLI::Range(1u, PStoreCopies::kMostCopies));
    ioApp.add_option("arguments", arguments, "Arguments of the core")
        ->option_text("KEY=VALUE ...")
        ->check(_checkArgument);
    ioApp.parse(iCount, iArguments);
    collect(propertyFile, arguments);
}

void PHostOptions::collect(const std::string& iPropertyFile,
                           const std::vector<std::string>& iArguments)
{
    if (!iPropertyFile.empty())
    {
        fCoreArguments.push_back(ixlaWide("core.prs.file=" + iPropertyFile));
    }
    for (const std::string& argument : iArguments)
    {
        fCoreArguments.push_back(ixlaWide(argument));
    }
    if (fCoreArguments.empty())
    {
        throw CLI::ValidationError("nothing to start: give --prs FILE or core.plugins.dir=DIR");
    }
}

bool PHostOptions::find(const wchar_t* iKey, PString& oValue) const
{
    bool found = false;
    for (const PString& argument : fCoreArguments)
    {
        PString key;
        PString value;
        if (PUtils::getKeyValue(argument, key, value, L'=') == 0 && key.cmp(iKey) == 0)
        {
            oValue = value;
            found = true;
        }
    }
    return found;
}

std::string PHostOptions::pathOf(const wchar_t* iKey) const
{
    PString path;
    find(iKey, path); // the path stays empty without the argument
    PUtils::fixFileSeparator(path);
    return _toPath(path);
}
