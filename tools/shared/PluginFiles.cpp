// SPDX-License-Identifier: MIT
#include "shared/PluginFiles.h"

#include "portinglayer/PDir.h"
#include "portinglayer/PLibrary.h"
#include "shared/ToolTexts.h"

#include <algorithm>

namespace
{
/// The file names of a list of plugins, as the core completes them.
std::vector<PString> _filesOf(PString iList)
{
    std::vector<PString> files;
    PString file;
    while (PLiteral::getNextToken(iList, file, L',') == 0)
    {
        // For lack of memory the name stays as it is, and matches nothing.
        static_cast<void>(PLibrary::fixLibName(file));
        files.push_back(file);
    }
    return files;
}
} // namespace

std::vector<std::string> pluginFiles(const PCoreSettings& iSettings)
{
    PString directory;
    PString list;
    iSettings.find(L"core.plugins.dir", directory);
    iSettings.find(L"core.load.plugin.list", list);
    const std::vector<PString> listed = _filesOf(list);
    PDir entries(directory, L"*.so");
    std::vector<std::string> paths;
    if (directory.len() == 0 || entries.preaddir() != 0)
    {
        return paths;
    }
    for (; entries == 0; ++entries)
    {
        const PString& name = entries.getEntry();
        if (listed.empty() || std::find(listed.begin(), listed.end(), name) != listed.end())
        {
            paths.push_back(utf8Text(directory) + "/" + utf8Text(name));
        }
    }
    return paths;
}
