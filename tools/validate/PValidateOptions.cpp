// SPDX-License-Identifier: MIT
#include "validate/PValidateOptions.h"

#include "validate/EExitCode.h"
#include "validate/PCheck.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <thread>

namespace
{
constexpr char kExamples[] = R"(Examples:
  ixla-validate build/libgreeter.so
  ixla-validate --config-dir config --plugins build/plugins build/libgreeter.so
  ixla-validate --only unload --limit 60 build/libgreeter.so
  ixla-validate --json build/libgreeter.so > greeter.json
  ixla-validate --valgrind build/libgreeter.so
  ixla-validate --junit result.xml --sarif result.sarif --baseline known.txt build/plugins
  ixla-validate build/plugins greeter_1.0_i386.deb

Exit code: 0 every check passed, 1 a check failed or standard output not written, 2 usage,
3 valgrind does not run, 4 a report or baseline cannot be written or read.)";

constexpr int kLongestLimit = 86400;
constexpr int kValgrindFactor = 10; ///< for the default limits
constexpr int kMostJobs = 1024;

/// The validator without its addition to the help.
CLI::Validator _plain(CLI::Validator iValidator)
{
    return iValidator.description("");
}

std::vector<std::string> _checkNames()
{
    std::vector<std::string> names;
    for (const PCheck& check : allChecks())
    {
        names.emplace_back(check.name);
    }
    return names;
}

/// The options of a process that the tool itself starts.
void _addHidden(CLI::App& ioApp, PValidateOptions& oOptions)
{
    ioApp.add_option("--run-check", oOptions.check)->group("");
    ioApp.add_option("--results", oOptions.results)->group("");
}

void _addFiles(CLI::App& ioApp, PValidateOptions& oOptions)
{
    ioApp.add_option("--junit", oOptions.junit, "write the results as JUnit XML")
        ->type_name("FILE");
    ioApp.add_option("--sarif", oOptions.sarif, "write the findings as SARIF 2.1.0")
        ->type_name("FILE");
    ioApp.add_option("--baseline", oOptions.baseline, "accept the findings in this file")
        ->type_name("FILE");
    ioApp
        .add_option("--write-baseline", oOptions.writeBaseline,
                    "write the findings to this file, and accept them")
        ->type_name("FILE");
}

void _addOptions(CLI::App& ioApp, PValidateOptions& oOptions)
{
    ioApp
        .add_option("PLUGIN", oOptions.arguments,
                    "plugin libraries, directories of them, and Debian packages")
        ->type_name("");
    ioApp
        .add_option("--config-dir", oOptions.configDir,
                    "configuration files for the plugin; copied, never changed")
        ->type_name("DIR")
        ->check(_plain(CLI::ExistingDirectory));
    ioApp.add_option("--plugins", oOptions.pluginsDir, "other plugin libraries that it needs")
        ->type_name("DIR")
        ->check(_plain(CLI::ExistingDirectory));
    ioApp.add_option("--limit", oOptions.limit, "maximum seconds for each check (20)")
        ->type_name("SECONDS")
        ->check(_plain(CLI::Range(1, kLongestLimit)));
    ioApp.add_option("--init-limit", oOptions.initLimit, "maximum seconds for init (5)")
        ->type_name("SECONDS")
        ->check(_plain(CLI::Range(1, kLongestLimit)));
    ioApp
        .add_option("--jobs", oOptions.jobs,
                    "libraries to validate at the same time (number of processors)")
        ->type_name("N")
        ->check(_plain(CLI::Range(1, kMostJobs)));
    ioApp.add_option("--only", oOptions.only, "run only this check (see --list); repeatable")
        ->type_name("CHECK")
        ->allow_extra_args(false)
        ->check(_plain(CLI::IsMember(_checkNames())));
    ioApp.add_flag("--valgrind", oOptions.valgrind, "find memory errors with valgrind");
    ioApp.add_flag("--list", oOptions.list, "list the checks and exit");
    ioApp.add_flag("--json", oOptions.json, "write one JSON object instead of lines");
    ioApp.set_version_flag("--version", "ixla-validate " IXLAL_VERSION);
}
} // namespace

bool PValidateOptions::parse(int iCount, char** iArguments, int& oExitCode)
{
    CLI::App app("Checks whether plugin libraries fulfil the contract of the core, each check in a "
                 "separate process.",
                 "ixla-validate");
    app.footer(kExamples);
    _addOptions(app, *this);
    _addFiles(app, *this);
    _addHidden(app, *this);
    jobs = std::max(1U, std::thread::hardware_concurrency());
    try
    {
        app.parse(iCount, iArguments);
        if (valgrind)
        {
            limit *= app.count("--limit") > 0 ? 1 : kValgrindFactor;
            initLimit *= app.count("--init-limit") > 0 ? 1 : kValgrindFactor;
        }
        if (arguments.empty() && !list)
        {
            throw CLI::RequiredError("PLUGIN");
        }
    }
    catch (const CLI::ParseError& problem)
    {
        const bool asked = problem.get_exit_code() == 0;
        if (asked)
        {
            app.exit(problem);
        }
        else
        {
            std::cerr << "ixla-validate: " << problem.what() << "; see ixla-validate --help\n";
        }
        oExitCode = asked ? eExitPassed : eExitUsage;
        return false;
    }
    for (std::string* path : {&configDir, &pluginsDir})
    {
        *path = path->empty() ? "" : std::filesystem::absolute(*path).string();
    }
    return true;
}

std::vector<std::string> PValidateOptions::argumentsOf(const std::string& iCheck,
                                                       int iResults) const
{
    std::vector<std::string> words = {"--run-check",  iCheck,
                                      "--results",    std::to_string(iResults),
                                      "--init-limit", std::to_string(initLimit)};
    for (const auto& [option, path] :
         {std::pair{"--config-dir", configDir}, std::pair{"--plugins", pluginsDir}})
    {
        if (!path.empty())
        {
            words.insert(words.end(), {option, path});
        }
    }
    words.insert(words.end(), {"--", plugin});
    return words;
}

PValidateOptions PValidateOptions::of(const PSubject& iSubject) const
{
    PValidateOptions options = *this;
    options.given = iSubject.given;
    options.plugin = iSubject.path;
    options.pluginsDir = pluginsDir.empty() ? iSubject.pluginsDir : pluginsDir;
    return options;
}
