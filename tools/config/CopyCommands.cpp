// SPDX-License-Identifier: MIT
#include "config/CopyCommands.h"

#include "config/PToolError.h"
#include "config/StoreUsers.h"
#include "helpers/Text.h"
#include "shared/PCoreSettings.h"
#include "shared/PStoreCopies.h"
#include "shared/PStoreRepair.h"
#include "shared/ToolTexts.h"

#include <iostream>

namespace
{
std::string _storePath(const ConfigOptions& iOptions)
{
    std::vector<PString> arguments = wideTexts(iOptions.core);
    arguments.push_back(ixlaWide("core.plugins.config.dir=" + iOptions.dir));
    std::string path = PCoreSettings(arguments).storePath();
    if (path.empty())
    {
        throw PToolError(iOptions.dir + ": no ixlap.configmanager.prs with a line "
                                        "\"ixlap.configmanager.store.file = store.txt\" that a "
                                        "core can read; `ixla-config check` finds mistakes");
    }
    return path;
}
} // namespace

int runBackup(const CopyRequest& iRequest)
{
    const std::string path = _storePath(iRequest.options);
    PStoreCopies copies(path);
    std::string copy = iRequest.file;
    if (copy.empty())
    {
        copy = copies.backUp(iRequest.copies);
    }
    else
    {
        copies.backUpTo(copy);
    }
    std::cout << path << ": copied to " << copy << '\n';
    return eExitOk;
}

int runRestore(const CopyRequest& iRequest)
{
    const std::string path = _storePath(iRequest.options);
    warnOfUsers(iRequest.options.dir, path);
    const PStoreCopies::Restored done = PStoreCopies(path).restore(iRequest.file);
    std::cout << path << ": restored " << done.entries << " entries from " << done.source << '\n';
    if (!done.replaced.empty())
    {
        std::cout << path << ": the replaced store is " << done.replaced << '\n';
    }
    return eExitOk;
}

int runRepair(const CopyRequest& iRequest)
{
    const std::string path = _storePath(iRequest.options);
    warnOfUsers(iRequest.options.dir, path);
    const PStoreRepair repair(path);
    for (const PStoreRepair::Line& line : repair.lines())
    {
        std::cout << path << ':' << line.number << ": "
                  << (line.isKept ? "kept, but its value may be cut short: " : "removed: ")
                  << line.text << '\n';
    }
    if (repair.original().empty())
    {
        std::cout << path << ": every line can be read\n";
    }
    else
    {
        std::cout << path << ": the damaged store is " << repair.original() << '\n';
    }
    return eExitOk;
}
