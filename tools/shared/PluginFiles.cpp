// SPDX-License-Identifier: MIT
#include "shared/PluginFiles.h"

#include "portinglayer/PDir.h"
#include "portinglayer/PLibrary.h"
#include "shared/ToolTexts.h"

#include <algorithm>

std::vector<std::string> pluginFiles(const PCoreSettings& iSettings)
{
    PString directory;
    PString list;
    iSettings.find(L"core.plugins.dir", directory);
    iSettings.find(L"core.load.plugin.list", list);
    std::vector<PString> listed = namesOf(list);
    std::transform(listed.begin(), listed.end(), listed.begin(), &pluginFile);
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

PString pluginFile(PString iName)
{
    // For lack of memory the name stays as it is, and matches nothing.
    static_cast<void>(PLibrary::fixLibName(iName));
    return iName;
}
