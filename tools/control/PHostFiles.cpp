// SPDX-License-Identifier: MIT
#include "control/PHostFiles.h"

#include "Ixla.h"
#include "portinglayer/PUtils.h"

#include <algorithm>
#include <new>

namespace
{
constexpr wchar_t kManagerFile[] = L"ixlap.configmanager.prs";
constexpr wchar_t kStoreKey[] = L"ixlap.configmanager.store.file";
} // namespace

PHostFiles::PHostFiles(const PControlServices& iServices)
    : fServices(iServices), fResult(iServices.manager->loadByFile(pathOf(kManagerFile), fManager))
{
}

/// "custom.config.NAME" takes precedence, a name with a "/" is a path, any other name is in the
/// configuration directory.
PString PHostFiles::pathOf(const PLiteral& iName) const
{
    PString custom(L"custom.config.");
    custom += iName;
    PString name = fServices.shared(custom);
    if (name.len() == 0)
    {
        name = iName;
    }
    PUtils::fixFileSeparator(name);
    unsigned int slash = 0;
    PString path;
    if (!name.chr(L'/', slash))
    {
        path = fServices.shared(L"core.plugins.config.dir");
        PUtils::fixFileSeparator(path);
        path += path.endsWith(L"/") ? L"" : L"/";
    }
    path += name;
    return path;
}

PString PHostFiles::managerPath() const
{
    return pathOf(kManagerFile);
}

int PHostFiles::managerResult() const noexcept
{
    return fResult;
}

std::vector<PString> PHostFiles::ids() const
{
    std::vector<PString> ids;
    if (fManager && fManager->getKeys(ids) != eIxlaOk)
    {
        throw std::bad_alloc();
    }
    std::erase(ids, PString(kStoreKey));
    return ids;
}

std::vector<PString> PHostFiles::filesOf(const PLiteral& iID) const
{
    std::vector<PString> paths;
    PString list;
    PString name;
    if (fManager && fManager->getString(iID, list) == eIxlaOk)
    {
        while (PLiteral::getNextToken(list, name, L',') == 0)
        {
            paths.push_back(pathOf(name));
        }
    }
    return paths;
}

PString PHostFiles::storePath() const
{
    PString name;
    const bool named = fManager && fManager->getString(kStoreKey, name) == eIxlaOk;
    return named && name.len() > 0 ? pathOf(name) : PString();
}
