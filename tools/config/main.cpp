// SPDX-License-Identifier: MIT
// ixla-config: explains, checks and changes plugin configurations.

#include "config/CheckCommand.h"
#include "config/CopyCommands.h"
#include "config/DescribeCommands.h"
#include "config/KeysCommand.h"
#include "config/PCoreSession.h"
#include "config/PToolError.h"
#include "config/ReadCommands.h"
#include "config/StoreCommands.h"
#include "shared/PKeyCheck.h"
#include "shared/PStandardOutput.h"
#include "shared/PStoreCopies.h"
#include "shared/ToolTexts.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>

namespace
{
constexpr char kDescription[] =
    "Shows the values that a core reads from a configuration directory, "
    "finds mistakes in its files, describes the keys that plugins declare, and changes the store.";

constexpr char kExamples[] = R"(
Examples:
  ixla-config --dir config ids --verbose
  ixla-config --dir config explain com.example.net port
  ixla-config --dir config --core core.prs.file=host.prs get com.example.net port
  ixla-config check core.prs config/*.prs --plugins plugins
  ixla-config --plugins plugins template com.example.net > config/net.prs
  ixla-config --dir config store com.example.net port 8080
  ixla-config --dir config restore

Exit codes: 0 done, 1 not found, errors found, refused by the core or standard output not written,
2 wrong usage.)";

/// The parsed command line.
struct Arguments
{
    ReadRequest read;
    StoreRequest store;
    CopyRequest copy;
    CheckRequest check;
    DescribeRequest describe;
    bool keysAsJson = false; ///< of core-keys
    ConfigOptions options;
};

void _addKey(CLI::App& ioCommand, std::string& oID, std::string& oKey)
{
    ioCommand.add_option("ID", oID, "configuration ID")->required();
    ioCommand.add_option("KEY", oKey, "key")->required();
}

void _addAttribute(CLI::App& ioCommand, std::string& oAttribute, const std::string& iWhat)
{
    ioCommand.add_option("--attr", oAttribute, iWhat)->type_name("NAME");
}

void _addReaders(CLI::App& ioTool, ReadRequest& oRequest)
{
    const std::string json = "print JSON";
    CLI::App* const ids = ioTool.add_subcommand("ids", "The IDs that have files or stored values");
    ids->add_flag("--json", oRequest.json, json);
    ids->add_flag("-v,--verbose", oRequest.verbose, "with the files of each ID");

    CLI::App* const keys = ioTool.add_subcommand("keys", "The keys of an ID");
    keys->add_option("ID", oRequest.id, "configuration ID")->required();
    keys->add_flag("--json", oRequest.json, json);
    keys->add_flag("-v,--verbose", oRequest.verbose, "with the value of each key");

    CLI::App* const get = ioTool.add_subcommand("get", "The value of a key, unchanged");
    _addKey(*get, oRequest.id, oRequest.key);
    _addAttribute(*get, oRequest.attribute, "the text of this attribute instead");
    get->add_flag("--json", oRequest.json, json);

    CLI::App* const explain =
        ioTool.add_subcommand("explain", "Every line that names a key, which one wins, and why");
    _addKey(*explain, oRequest.id, oRequest.key);
    explain->add_flag("--json", oRequest.json, json);
}

void _addCheck(CLI::App& ioTool, CheckRequest& oRequest)
{
    CLI::App* const check = ioTool.add_subcommand("check", "Mistakes in configuration files");
    check->add_option("FILE", oRequest.files, "configuration file")->required();
    check->add_flag("--store", oRequest.isStore, "the files are stores, with keys ID|key");
    check->add_flag("--strict", oRequest.strict, "exit with 1 for warnings too");
    check->add_flag("--json", oRequest.json, "print JSON");
}

void _addKeys(CLI::App& ioTool, bool& oJson)
{
    CLI::App* const keys = ioTool.add_subcommand(
        "core-keys", "The keys of the core: type, place, default and meaning");
    keys->add_flag("--json", oJson, "print JSON");
}

void _addDescribers(CLI::App& ioTool, DescribeRequest& oRequest)
{
    CLI::App* const describe =
        ioTool.add_subcommand("describe", "The keys that plugins declare: type, range, default");
    describe->add_option("ID", oRequest.id, "configuration ID; all without one");
    describe->add_flag("--names", oRequest.names, "only the names of the keys, or of the IDs");
    describe->add_flag("--json", oRequest.json, "print JSON");

    CLI::App* const file =
        ioTool.add_subcommand("template", "A commented file with the declared keys of an ID");
    file->add_option("ID", oRequest.id, "configuration ID")->required();
}

void _addWriters(CLI::App& ioTool, StoreRequest& oRequest)
{
    CLI::App* const store = ioTool.add_subcommand("store", "Write a value to the store");
    _addKey(*store, oRequest.id, oRequest.key);
    store->add_option("VALUE", oRequest.value, "text of the value")->required();
    _addAttribute(*store, oRequest.attribute, "write this attribute of the stored value instead");

    CLI::App* const remove = ioTool.add_subcommand("remove", "Remove a value from the store");
    _addKey(*remove, oRequest.id, oRequest.key);
    _addAttribute(*remove, oRequest.attribute, "remove this attribute only");
}

void _addCopiers(CLI::App& ioTool, CopyRequest& oRequest)
{
    CLI::App* const backup = ioTool.add_subcommand("backup", "Copy the store");
    backup->add_option("FILE", oRequest.file, "new file; otherwise STORE.1, STORE.2 and so on");
    backup->add_option("--copies", oRequest.copies, "how many numbered copies stay (3)")
        ->type_name("N")
        ->check(CLI::Range(1u, PStoreCopies::kMostCopies));

    CLI::App* const restore = ioTool.add_subcommand("restore", "Replace the store by a copy");
    restore->add_option("FILE", oRequest.file,
                        "the copy; otherwise the one before a loss, or the newest one");

    ioTool.add_subcommand("repair", "Remove the lines of the store that cannot be read");
}

void _describe(CLI::App& ioTool, Arguments& oArguments)
{
    ioTool.footer(kExamples);
    ioTool.set_version_flag("--version", "ixla-config " IXLAL_VERSION);
    ioTool
        .add_option("--dir", oArguments.options.dir,
                    "directory of the configuration files (core.plugins.config.dir); check takes "
                    "that of the file")
        ->type_name("DIR");
    ioTool
        .add_option("--core", oArguments.options.core,
                    "further argument of the core, such as core.prs.file=FILE or "
                    "custom.config.NAME=FILE; may be repeated")
        ->type_name("KEY=VALUE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    ioTool
        .add_option("--plugins", oArguments.options.plugins,
                    "directory of plugin libraries, or a library, whose declared keys are used; "
                    "otherwise core.plugins.dir of the property file; may be repeated")
        ->type_name("PATH")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    ioTool.require_subcommand(1);
    ioTool.fallthrough();
    _addReaders(ioTool, oArguments.read);
    _addCheck(ioTool, oArguments.check);
    _addKeys(ioTool, oArguments.keysAsJson);
    _addDescribers(ioTool, oArguments.describe);
    _addWriters(ioTool, oArguments.store);
    _addCopiers(ioTool, oArguments.copy);
}

/// Warns of arguments that a core would not use as intended.
void _warnOfArguments(const ConfigOptions& iOptions)
{
    for (const std::string& finding : PKeyCheck::checkArguments(wideTexts(iOptions.core)))
    {
        std::cerr << "ixla-config: warning: --core: " << finding << '\n';
    }
}

void _checkOptions(const ConfigOptions& iOptions, const std::string& iCommand)
{
    const bool needsDir = iCommand != "check" && iCommand != "describe" && iCommand != "template";
    if (iOptions.dir.empty() && needsDir)
    {
        throw PToolError(iCommand + " needs --dir, the directory of the configuration files",
                         eExitUsage);
    }
    for (const std::string& argument : iOptions.core)
    {
        const std::string key = argument.substr(0, argument.find('='));
        if (key.empty() || key.size() == argument.size())
        {
            throw PToolError("--core " + argument + ": not KEY=VALUE", eExitUsage);
        }
        if (PCoreSession::isReserved(key))
        {
            throw PToolError("--core " + argument + ": the tool sets this key itself" +
                                 (key == "core.plugins.config.dir" ? "; use --dir" : ""),
                             eExitUsage);
        }
    }
}

int _run(const CLI::App& iCommand, Arguments& ioArguments)
{
    const std::string& name = iCommand.get_name();
    if (name == "core-keys")
    {
        return runCoreKeys(ioArguments.keysAsJson);
    }
    _checkOptions(ioArguments.options, name);
    _warnOfArguments(ioArguments.options);
    const bool hasAttribute =
        iCommand.get_option_no_throw("--attr") && iCommand.count("--attr") > 0;
    if (name == "check")
    {
        ioArguments.check.options = ioArguments.options;
        return runCheck(ioArguments.check);
    }
    if (name == "describe" || name == "template")
    {
        ioArguments.describe.options = ioArguments.options;
        return name == "describe" ? runDescribe(ioArguments.describe)
                                  : runTemplate(ioArguments.describe);
    }
    if (name == "store" || name == "remove")
    {
        ioArguments.store.options = ioArguments.options;
        ioArguments.store.hasAttribute = hasAttribute;
        return name == "store" ? runStore(ioArguments.store) : runRemove(ioArguments.store);
    }
    if (name == "backup" || name == "restore" || name == "repair")
    {
        ioArguments.copy.options = ioArguments.options;
        return name == "backup"    ? runBackup(ioArguments.copy)
               : name == "restore" ? runRestore(ioArguments.copy)
                                   : runRepair(ioArguments.copy);
    }
    ioArguments.read.options = ioArguments.options;
    ioArguments.read.hasAttribute = hasAttribute;
    return name == "ids"    ? runIds(ioArguments.read)
           : name == "keys" ? runKeys(ioArguments.read)
           : name == "get"  ? runGet(ioArguments.read)
                            : runExplain(ioArguments.read);
}

int _main(int iCount, char** iArguments)
{
    CLI::App tool(kDescription, "ixla-config");
    Arguments arguments;
    _describe(tool, arguments);
    try
    {
        tool.parse(iCount, iArguments);
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == 0)
        {
            return tool.exit(error);
        }
        const std::vector<std::string> unknown = tool.remaining();
        throw PToolError((unknown.empty() ? error.what() : "unknown: " + unknown.front()) +
                             "; see ixla-config --help",
                         eExitUsage);
    }
    return _run(*tool.get_subcommands().front(), arguments);
}

int _mainOrError(int iCount, char** iArguments)
{
    try
    {
        return _main(iCount, iArguments);
    }
    catch (const PToolError& error)
    {
        std::cerr << "ixla-config: " << error.what() << '\n';
        return error.code();
    }
    catch (const std::exception& error)
    {
        std::cerr << "ixla-config: " << error.what() << '\n';
        return eExitFailed;
    }
}
} // namespace

int main(int iCount, char** iArguments)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread was begun yet
    ::unsetenv("LOG_IXLACORE"); // the log of this core is of no use to the caller
    PStandardOutput output("ixla-config");
    return output.exitCode(_mainOrError(iCount, iArguments));
}
