// SPDX-License-Identifier: MIT
#include "core/PGlobalConfig.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfigLoader.h"
#include "config/PConfigManager.h"
#include "config/PConfigResult.h"
#include "core/PCoreLog.h"
#include "core/PCoreServices.h"
#include "core/PStartArguments.h"
#include "portinglayer/PUtils.h"

namespace
{
constexpr wchar_t kCustomPrefix[] = L"custom.config.";
constexpr wchar_t kConfigDirKey[] = L"core.plugins.config.dir";
constexpr wchar_t kLogDirKey[] = L"core.plugins.log.dir";
constexpr wchar_t kMaxSizeKey[] = L"core.plugins.log.maxsize";
constexpr wchar_t kPartsKey[] = L"core.plugins.log.parts";
constexpr wchar_t kLevelKey[] = L"core.plugins.log.level";
constexpr wchar_t kMaxCountKey[] = L"core.plugins.log.maxcount";
constexpr wchar_t kEnableKey[] = L"core.plugins.log.enable";

/// Adds a value whose text was converted with iResult, which is returned.
int _add(PSharedValues& ioValues, const PLiteral& iKey, int iResult)
{
    if (iResult == 0)
    {
        ioValues.add(iKey);
    }
    return configResult(iResult);
}

int _addInt32(PSharedValues& ioValues, const PLiteral& iKey, int iValue)
{
    return _add(ioValues, iKey, PUtils::int32ToStr(iValue, ioValues.nextText()));
}

int _addBool(PSharedValues& ioValues, const PLiteral& iKey, bool iValue)
{
    return _add(ioValues, iKey, PUtils::boolToStr(iValue, ioValues.nextText()));
}
} // namespace

int PGlobalConfig::publishLogDefaults(const PStartArguments& iArguments)
{
    struct Default
    {
        PLiteral key;
        int value;
    };
    PSharedValues values;
    int result = eIxlaOk;
    for (const Default& setting :
         {Default{kMaxSizeKey, iArguments.fLogMaxSize}, Default{kPartsKey, iArguments.fLogParts},
          Default{kMaxCountKey, iArguments.fLogMaxCount}, Default{kLevelKey, iArguments.fLogLevel}})
    {
        int configured = 0;
        if (!readInt32(setting.key, configured))
        {
            result = _addInt32(values, setting.key, setting.value);
        }
    }
    bool configured = false;
    if (!readBool(kEnableKey, configured))
    {
        result = _addBool(values, kEnableKey, iArguments.fLogEnable);
    }
    const int published = publish(values, false);
    return result != 0 ? result : published;
}

// The results of publishing are dropped: readers use their own default for a setting that could not
// be published, as for one that is not configured.

int PGlobalConfig::setGlobalConfig()
{
    PSharedValues values;
    const int result = addDirs(values);
    if (result == 0)
    {
        addInt32(values, kMaxSizeKey, L"[setGlobalConfig] Set plugins log max size: %d");
        addInt32(values, kPartsKey, L"[setGlobalConfig] Set plugins log parts size: %d");
        addInt32(values, kLevelKey, L"[setGlobalConfig] Set plugins log level: %d");
        addInt32(values, kMaxCountKey, L"[setGlobalConfig] Set plugins log max count: %d");
        addEnable(values);
    }
    static_cast<void>(publish(values, true));
    if (result == 0)
    {
        publishCustomKeys();
    }
    return result;
}

const PConfigValue* PGlobalConfig::find(const PLiteral& iKey) const
{
    return PConfigLoader::_valuesOf(fServices.fConfig).find(iKey);
}

bool PGlobalConfig::readInt32(const PLiteral& iKey, int& oValue) const
{
    const PConfigValue* const found = find(iKey);
    return found && PUtils::strToInt32(found->fValue, oValue) == 0;
}

bool PGlobalConfig::readBool(const PLiteral& iKey, bool& oValue) const
{
    const PConfigValue* const found = find(iKey);
    return found && PUtils::strToBool(found->fValue, oValue) == 0;
}

int PGlobalConfig::addDirs(PSharedValues& ioValues)
{
    const int result =
        addDir(ioValues, kConfigDirKey, L"[setGlobalConfig] Set plugins config dir: %ls",
               L"[setGlobalConfig] No plugins config dir err: %d");
    return result != 0 ? result
                       : addDir(ioValues, kLogDirKey, L"[setGlobalConfig] Set plugins log dir: %ls",
                                L"[setGlobalConfig] No plugins log dir err: %d");
}

int PGlobalConfig::addDir(PSharedValues& ioValues, const PLiteral& iKey, const wchar_t* iSetFormat,
                          const wchar_t* iMissingFormat)
{
    PString& dir = ioValues.nextText();
    const PConfigValue* const found = find(iKey);
    const int result =
        found ? configResult(dir.set(found->fValue)) : static_cast<int>(eIxlaNotFound);
    if (result != 0)
    {
        PLogger::error(fLog.logger(), 0, iMissingFormat, result);
        return eIxlaMissingCoreKey;
    }
    PUtils::fixFileSeparator(dir);
    PLogger::debug(fLog.logger(), 0, iSetFormat, dir.ptr());
    ioValues.add(iKey);
    return eIxlaOk;
}

void PGlobalConfig::addInt32(PSharedValues& ioValues, const PLiteral& iKey,
                             const wchar_t* iSetFormat)
{
    int value = 0;
    if (readInt32(iKey, value))
    {
        PLogger::debug(fLog.logger(), 0, iSetFormat, value);
        static_cast<void>(_addInt32(ioValues, iKey, value));
    }
}

void PGlobalConfig::addEnable(PSharedValues& ioValues)
{
    bool value = false;
    if (readBool(kEnableKey, value))
    {
        PLogger::debug(fLog.logger(), 0, L"[setGlobalConfig] Set plugins enable key: %d",
                       value ? 1 : 0);
        static_cast<void>(_addBool(ioValues, kEnableKey, value));
    }
}

void PGlobalConfig::publishCustomKeys()
{
    PConfigValues::Records records;
    const int listed = ixlaGuarded(
        [&]
        {
            records = PConfigLoader::_valuesOf(fServices.fConfig).inOrder(kCustomPrefix);
            return eIxlaOk;
        });
    if (listed != 0)
    {
        return;
    }
    for (const PConfigRecord* record : records)
    {
        PSharedValues value;
        const PLiteral& key = record->key;
        const int result = fServices.fConfig->getString(key, value.nextText());
        if (result != 0)
        {
            PLogger::error(fLog.logger(), 0, L"[setGlobalConfig] Failed to get key: %ls err: %d",
                           key.ptr(), result);
            continue;
        }
        PLogger::debug(fLog.logger(), 0, L"[setGlobalConfig] Set %ls = %ls", key.ptr(),
                       value.nextText().ptr());
        value.add(key);
        static_cast<void>(publish(value, true));
    }
}

int PGlobalConfig::publish(const PSharedValues& iValues, bool iPinned)
{
    return static_cast<PConfigManager&>(*fServices.fConfigManager).setShared(iValues, iPinned);
}
