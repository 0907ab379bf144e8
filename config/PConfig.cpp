// SPDX-License-Identifier: MIT
#include "config/PConfig.h"

#include "PGuarded.h"
#include "config/PConfigFormat.h"
#include "config/PConfigManager.h"
#include "config/PConfigResult.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PUtils.h"

namespace
{
/// Texts up to this length are converted without allocating.
constexpr unsigned int kShortText = 127;

const PLiteral sConstAttribute(L"const");
} // namespace

PConfig::PConfig(IConfigManager* iManager, const PLiteral& iID)
    : fRefCount(0), fValues(&fArena), fID(iID), fIDHash(PConfigKey(iID).hash), fManager(iManager)
{
}

PConfig::~PConfig() = default;

int PConfig::incRef() noexcept
{
    return ++fRefCount;
}

int PConfig::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

PConfigValues& PConfig::values() noexcept
{
    return fValues;
}

PReadFault& PConfig::readFault() noexcept
{
    return fReadFault;
}

int PConfig::getKeys(std::vector<PString>& oKeys) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const PConfigValues::Records records = fValues.inOrder();
            std::vector<PString> keys;
            keys.reserve(records.size());
            for (const PConfigRecord* record : records)
            {
                keys.emplace_back(record->key);
            }
            oKeys.swap(keys);
            return eIxlaOk;
        });
}

int PConfig::getAttributes(const PLiteral& iKey, std::vector<PString>& oAttributes) noexcept
{
    PConfigValue* record = nullptr;
    int result = PConfigFormat::_checkAllowedChars(PLiteral(), iKey, PLiteral());
    if (result == 0)
    {
        result = __findValue(iKey, record);
    }
    if (result != 0)
    {
        return result;
    }
    const std::size_t before = oAttributes.size();
    result = ixlaGuarded(
        [&]
        {
            for (const auto& attribute : record->fAttributes.all())
            {
                oAttributes.emplace_back(attribute->name);
            }
            return eIxlaOk;
        });
    if (result != 0)
    {
        oAttributes.erase(oAttributes.begin() + static_cast<std::ptrdiff_t>(before),
                          oAttributes.end());
    }
    return result;
}

int PConfig::getString(const PLiteral& iKey, PString& oValue) noexcept
{
    return read(iKey, PLiteral(),
                [&](const PConfigValue& iRecord) { return oValue.set(iRecord.fValue); });
}

int PConfig::getAttrString(const PLiteral& iKey, const PLiteral& iAttribute,
                           PString& oValue) noexcept
{
    return read(iKey, iAttribute,
                [&](const PConfigValue& iRecord)
                {
                    const PLiteral* const text = iRecord.fAttributes.find(iAttribute);
                    return text ? oValue.set(*text) : static_cast<int>(eIxlaNotFound);
                });
}

int PConfig::getInt32(const PLiteral& iKey, int& oValue) noexcept
{
    return readAs(iKey, nullptr,
                  [&](const PLiteral& iText) { return PUtils::strToInt32(iText, oValue); });
}

int PConfig::getUint32(const PLiteral& iKey, unsigned int& oValue) noexcept
{
    return readAs(iKey, nullptr,
                  [&](const PLiteral& iText) { return PUtils::strToUint32(iText, oValue); });
}

int PConfig::getInt64(const PLiteral& iKey, long long& oValue) noexcept
{
    return readAs(iKey, nullptr,
                  [&](const PLiteral& iText) { return PUtils::strToInt64(iText, oValue); });
}

int PConfig::getUint64(const PLiteral& iKey, unsigned long long& oValue) noexcept
{
    return readAs(iKey, nullptr,
                  [&](const PLiteral& iText) { return PUtils::strToUint64(iText, oValue); });
}

int PConfig::getBool(const PLiteral& iKey, bool& oValue) noexcept
{
    return readAs(iKey, nullptr,
                  [&](const PLiteral& iText) { return PUtils::strToBool(iText, oValue); });
}

int PConfig::getBinary(const PLiteral& iKey, unsigned char*& oData, unsigned int& oSize) noexcept
{
    return readAs(iKey, nullptr,
                  [&](const PLiteral& iText) { return PUtils::strToBinary(iText, oData, oSize); });
}

int PConfig::getAttrInt32(const PLiteral& iKey, const PLiteral& iAttribute, int& oValue) noexcept
{
    return readAs(iKey, &iAttribute,
                  [&](const PLiteral& iText) { return PUtils::strToInt32(iText, oValue); });
}

int PConfig::getAttrUint32(const PLiteral& iKey, const PLiteral& iAttribute,
                           unsigned int& oValue) noexcept
{
    return readAs(iKey, &iAttribute,
                  [&](const PLiteral& iText) { return PUtils::strToUint32(iText, oValue); });
}

int PConfig::getAttrInt64(const PLiteral& iKey, const PLiteral& iAttribute,
                          long long& oValue) noexcept
{
    return readAs(iKey, &iAttribute,
                  [&](const PLiteral& iText) { return PUtils::strToInt64(iText, oValue); });
}

int PConfig::getAttrUint64(const PLiteral& iKey, const PLiteral& iAttribute,
                           unsigned long long& oValue) noexcept
{
    return readAs(iKey, &iAttribute,
                  [&](const PLiteral& iText) { return PUtils::strToUint64(iText, oValue); });
}

int PConfig::getAttrBool(const PLiteral& iKey, const PLiteral& iAttribute, bool& oValue) noexcept
{
    return readAs(iKey, &iAttribute,
                  [&](const PLiteral& iText) { return PUtils::strToBool(iText, oValue); });
}

int PConfig::getAttrBinary(const PLiteral& iKey, const PLiteral& iAttribute, unsigned char*& oData,
                           unsigned int& oSize) noexcept
{
    return readAs(iKey, &iAttribute,
                  [&](const PLiteral& iText) { return PUtils::strToBinary(iText, oData, oSize); });
}

int PConfig::__findValue(const PLiteral& iKey, PConfigValue*& oValue) noexcept
{
    PConfigValue* const value = fValues.find(iKey);
    if (!value)
    {
        return eIxlaNotFound;
    }
    oValue = value;
    return eIxlaOk;
}

int PConfig::_findUsedValue(const PLiteral& iKey, const PLiteral& iAttribute,
                            PConfigValue*& oValue) noexcept
{
    const PConfigKey key(iKey);
    Records records;
    records.own = fValues.find(key);
    PConfigManager* const manager = source();
    if (manager && !(records.own && _isPinned(*records.own)))
    {
        manager->findValues(fID, fIDHash, key, fRunTimeValues, records.dynamic, records.stored);
    }
    return _choose(records, iAttribute, oValue);
}

PConfigManager* PConfig::source() const noexcept
{
    return fID.len() != 0 ? static_cast<PConfigManager*>(fManager.get()) : nullptr;
}

bool PConfig::_isPinned(PConfigValue& ioRecord) noexcept
{
    if (ioRecord.fAttributes.isPinned())
    {
        return true;
    }
    if (ioRecord.fAttributes.empty())
    {
        return false;
    }
    bool pinned = false;
    const PLiteral* const text = ioRecord.fAttributes.find(sConstAttribute);
    if (!text || PUtils::strToBool(*text, pinned) != 0 || !pinned)
    {
        return false;
    }
    ioRecord.fAttributes.markPinned();
    return true;
}

bool PConfig::_answers(const PConfigValue* iRecord, const PLiteral& iAttribute) noexcept
{
    return iRecord && (iAttribute.len() == 0 || iRecord->fAttributes.find(iAttribute));
}

int PConfig::_choose(const Records& iRecords, const PLiteral& iAttribute,
                     PConfigValue*& oValue) noexcept
{
    for (PConfigValue* record : {iRecords.own, iRecords.stored})
    {
        if (record && _isPinned(*record))
        {
            oValue = record;
            return eIxlaOk;
        }
    }
    for (PConfigValue* record : {iRecords.dynamic, iRecords.stored, iRecords.own})
    {
        if (_answers(record, iAttribute))
        {
            oValue = record;
            return eIxlaOk;
        }
    }
    return eIxlaNotFound;
}

// A key with a separator is never found, so it is refused only when nothing was found.
int PConfig::read(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept
{
    int result = iAttribute.len() != 0
                     ? PConfigFormat::_checkAllowedChars(PLiteral(), PLiteral(), iAttribute)
                     : static_cast<int>(eIxlaOk);
    if (result == 0)
    {
        result = readAllowed(iKey, iAttribute, iCopy);
    }
    if (result != eIxlaNotFound)
    {
        return result;
    }
    const int allowed = PConfigFormat::_checkAllowedChars(PLiteral(), iKey, PLiteral());
    return allowed != 0 ? allowed : result;
}

int PConfig::readAllowed(const PLiteral& iKey, const PLiteral& iAttribute,
                         const Copy& iCopy) noexcept
{
    PConfigManager* const manager = source();
    if (!manager)
    {
        return copyOwn(iKey, iAttribute, iCopy);
    }
    {
        const PReaderLock::Reader reader(manager->lock().fReaders);
        if (reader.isInside() && manager->isStoreKnown())
        {
            return copyUsed(iKey, iAttribute, iCopy);
        }
    }
    return readLocked(iKey, iAttribute, iCopy);
}

// The first read always reads the store, whatever record is chosen, but not for a key that must not
// be read. A store that cannot be read counts as one without values; only lack of memory is passed
// on.
int PConfig::readLocked(const PLiteral& iKey, const PLiteral& iAttribute,
                        const Copy& iCopy) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(PLiteral(), iKey, PLiteral());
    if (allowed != 0)
    {
        return allowed;
    }
    PConfigManager& manager = *source();
    const PLockGuard lock(manager.lock().fMutex);
    if (lock.result() != 0)
    {
        return copyOwn(iKey, iAttribute, iCopy);
    }
    return manager.nl_needLoadedStore() == eIxlaNoMemory ? static_cast<int>(eIxlaNoMemory)
                                                         : copyUsed(iKey, iAttribute, iCopy);
}

int PConfig::copyUsed(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept
{
    PConfigValue* record = nullptr;
    const int result = _findUsedValue(iKey, iAttribute, record);
    return result != 0 ? result : configResult(iCopy(*record));
}

int PConfig::copyOwn(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept
{
    Records records;
    records.own = fValues.find(PConfigKey(iKey));
    PConfigValue* record = nullptr;
    const int result = _choose(records, iAttribute, record);
    return result != 0 ? result : configResult(iCopy(*record));
}

int PConfig::readAs(const PLiteral& iKey, const PLiteral* iAttribute,
                    const Convert& iConvert) noexcept
{
    PShortString<kShortText> text;
    const int result = iAttribute ? getAttrString(iKey, *iAttribute, text) : getString(iKey, text);
    return result != 0 ? result : configResult(iConvert(text));
}
