// SPDX-License-Identifier: MIT
#include "core/PGlobalConfig.h"

#include "Ixla.h"
#include "core/PCoreLog.h"
#include "core/PCoreServices.h"
#include "portinglayer/PUtils.h"

namespace
{
constexpr wchar_t kCustomPrefix[] = L"custom.config.";
} // namespace

// The results of the writes are dropped: readers use their own default for a setting that could not
// be published, as for one that is not configured.

int PGlobalConfig::setGlobalConfig()
{
    int result =
        publishDir(L"core.plugins.config.dir", L"[setGlobalConfig] Set plugins config dir: %ls",
                   L"[setGlobalConfig] No plugins config dir err: %d");
    if (result != 0)
    {
        return result;
    }
    result = publishDir(L"core.plugins.log.dir", L"[setGlobalConfig] Set plugins log dir: %ls",
                        L"[setGlobalConfig] No plugins log dir err: %d");
    if (result != 0)
    {
        return result;
    }
    publishInt32(L"core.plugins.log.maxsize", L"[setGlobalConfig] Set plugins log max size: %d");
    publishInt32(L"core.plugins.log.parts", L"[setGlobalConfig] Set plugins log parts size: %d");
    publishInt32(L"core.plugins.log.level", L"[setGlobalConfig] Set plugins log level: %d");
    publishInt32(L"core.plugins.log.maxcount", L"[setGlobalConfig] Set plugins log max count: %d");
    publishBool(L"core.plugins.log.enable", L"[setGlobalConfig] Set plugins enable key: %d");
    publishCustomKeys();
    return eIxlaOk;
}

int PGlobalConfig::publishDir(const wchar_t* iKey, const wchar_t* iSetFormat,
                              const wchar_t* iMissingFormat)
{
    PString dir;
    const int result = fServices.fConfig->getString(iKey, dir);
    if (result != 0)
    {
        PLogger::error(fLog.logger(), 0, iMissingFormat, result);
        return eIxlaMissingCoreKey;
    }
    PUtils::fixFileSeparator(dir);
    PLogger::debug(fLog.logger(), 0, iSetFormat, dir.ptr());
    fServices.fConfigManager->setString(kIxlaGlobalConfigId, iKey, dir);
    pinGlobal(iKey);
    return eIxlaOk;
}

void PGlobalConfig::publishInt32(const wchar_t* iKey, const wchar_t* iSetFormat)
{
    int value = 0;
    if (fServices.fConfig->getInt32(iKey, value) != 0)
    {
        return;
    }
    PLogger::debug(fLog.logger(), 0, iSetFormat, value);
    fServices.fConfigManager->setInt32(kIxlaGlobalConfigId, iKey, value);
    pinGlobal(iKey);
}

void PGlobalConfig::publishBool(const wchar_t* iKey, const wchar_t* iSetFormat)
{
    bool value = false;
    if (fServices.fConfig->getBool(iKey, value) != 0)
    {
        return;
    }
    PLogger::debug(fLog.logger(), 0, iSetFormat, value ? 1 : 0);
    fServices.fConfigManager->setBool(kIxlaGlobalConfigId, iKey, value);
    pinGlobal(iKey);
}

void PGlobalConfig::publishCustomKeys()
{
    std::vector<PString> keys;
    if (fServices.fConfig->getKeys(keys) != 0)
    {
        return;
    }
    PString value;
    for (const PString& key : keys)
    {
        if (!key.startsWith(kCustomPrefix))
        {
            continue;
        }
        const int result = fServices.fConfig->getString(key, value);
        if (result != 0)
        {
            PLogger::error(fLog.logger(), 0, L"[setGlobalConfig] Failed to get key: %ls err: %d",
                           key.ptr(), result);
            continue;
        }
        PLogger::debug(fLog.logger(), 0, L"[setGlobalConfig] Set %ls = %ls", key.ptr(),
                       value.ptr());
        fServices.fConfigManager->setString(kIxlaGlobalConfigId, key, value);
        pinGlobal(key);
    }
}

void PGlobalConfig::pinGlobal(const PLiteral& iKey)
{
    fServices.fConfigManager->setAttrBool(kIxlaGlobalConfigId, iKey, L"const", true);
}
