// SPDX-License-Identifier: MIT
#include "config/PConfig.h"

#include "PGuarded.h"
#include "config/PConfigFormat.h"
#include "config/PConfigManager.h"
#include "config/PConfigResult.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PUtils.h"

#include <optional>

namespace
{
/// Texts up to this length are converted without allocating.
constexpr unsigned int kShortText = 127;

const PLiteral sConstAttribute(L"const");

PConfigManager* _implementation(const PBaseptr<IConfigManager>& iManager) noexcept
{
    return static_cast<PConfigManager*>(iManager.get());
}
} // namespace

PConfig::PConfig(IConfigManager* iManager, const PLiteral& iID)
    : fRefCount(0), fValues(PConfigValues::allocator_type(fArena)), fID(iID), fManager(iManager)
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
            std::vector<PString> keys;
            keys.reserve(fValues.size());
            for (const auto& [key, record] : fValues)
            {
                keys.push_back(key);
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
            for (const auto& [name, text] : record->fAttributes)
            {
                oAttributes.push_back(name);
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
                    const auto attribute = iRecord.fAttributes.find(iAttribute);
                    return attribute == iRecord.fAttributes.end() ? static_cast<int>(eIxlaNotFound)
                                                                  : oValue.set(attribute->second);
                });
}

int PConfig::getInt32(const PLiteral& iKey, int& oValue) noexcept
{
    return readAs(&PUtils::strToInt32, iKey, oValue);
}

int PConfig::getUint32(const PLiteral& iKey, unsigned int& oValue) noexcept
{
    return readAs(&PUtils::strToUint32, iKey, oValue);
}

int PConfig::getInt64(const PLiteral& iKey, long long& oValue) noexcept
{
    return readAs(&PUtils::strToInt64, iKey, oValue);
}

int PConfig::getUint64(const PLiteral& iKey, unsigned long long& oValue) noexcept
{
    return readAs(&PUtils::strToUint64, iKey, oValue);
}

int PConfig::getBool(const PLiteral& iKey, bool& oValue) noexcept
{
    return readAs(&PUtils::strToBool, iKey, oValue);
}

int PConfig::getBinary(const PLiteral& iKey, unsigned char*& oData, unsigned int& oSize) noexcept
{
    return readAs(&PUtils::strToBinary, iKey, oData, oSize);
}

int PConfig::getAttrInt32(const PLiteral& iKey, const PLiteral& iAttribute, int& oValue) noexcept
{
    return readAttrAs(&PUtils::strToInt32, iKey, iAttribute, oValue);
}

int PConfig::getAttrUint32(const PLiteral& iKey, const PLiteral& iAttribute,
                           unsigned int& oValue) noexcept
{
    return readAttrAs(&PUtils::strToUint32, iKey, iAttribute, oValue);
}

int PConfig::getAttrInt64(const PLiteral& iKey, const PLiteral& iAttribute,
                          long long& oValue) noexcept
{
    return readAttrAs(&PUtils::strToInt64, iKey, iAttribute, oValue);
}

int PConfig::getAttrUint64(const PLiteral& iKey, const PLiteral& iAttribute,
                           unsigned long long& oValue) noexcept
{
    return readAttrAs(&PUtils::strToUint64, iKey, iAttribute, oValue);
}

int PConfig::getAttrBool(const PLiteral& iKey, const PLiteral& iAttribute, bool& oValue) noexcept
{
    return readAttrAs(&PUtils::strToBool, iKey, iAttribute, oValue);
}

int PConfig::getAttrBinary(const PLiteral& iKey, const PLiteral& iAttribute, unsigned char*& oData,
                           unsigned int& oSize) noexcept
{
    return readAttrAs(&PUtils::strToBinary, iKey, iAttribute, oData, oSize);
}

int PConfig::__findValue(const PLiteral& iKey, PConfigValue*& oValue) noexcept
{
    const PConfigPlace place(fValues, iKey);
    if (!place.found)
    {
        return eIxlaNotFound;
    }
    oValue = &place.at->second;
    return eIxlaOk;
}

int PConfig::_findUsedValue(const PLiteral& iKey, const PLiteral& iAttribute,
                            PConfigValue*& oValue) noexcept
{
    Records records;
    // The result may be dropped: a missing own record is one of the choices.
    (void)__findValue(iKey, records.own);
    const bool pinned = records.own && _isPinned(*records.own);
    const int result = pinned ? needStore() : findInManager(iKey, records);
    return result != 0 ? result : _choose(records, iAttribute, oValue);
}

int PConfig::findOwnValue(const PLiteral& iKey, const PLiteral& iAttribute,
                          PConfigValue*& oValue) noexcept
{
    Records records;
    const int result = __findValue(iKey, records.own);
    return result != 0 ? result : _choose(records, iAttribute, oValue);
}

int PConfig::findInManager(const PLiteral& iKey, Records& oRecords) noexcept
{
    if (!hasSources())
    {
        return eIxlaOk;
    }
    const int result =
        _implementation(fManager)->findValues(fID, iKey, oRecords.dynamic, oRecords.stored);
    return result == eIxlaNoMemory ? result : eIxlaOk;
}

// The first read always reads the store, whatever record is chosen.
int PConfig::needStore() noexcept
{
    const int result = hasSources() ? _implementation(fManager)->needLoadedStore() : eIxlaOk;
    return result == eIxlaNoMemory ? result : eIxlaOk;
}

bool PConfig::hasSources() const noexcept
{
    return fManager && fID.len() != 0;
}

// Readers without the lock run this at the same time as others, so the cache is atomic.
bool PConfig::_isPinned(PConfigValue& ioRecord) noexcept
{
    if (__atomic_load_n(&ioRecord.fConst, __ATOMIC_RELAXED))
    {
        return true;
    }
    if (ioRecord.fAttributes.empty())
    {
        return false;
    }
    bool pinned = false;
    const auto attribute = ioRecord.fAttributes.find(sConstAttribute);
    if (attribute == ioRecord.fAttributes.end() ||
        PUtils::strToBool(attribute->second, pinned) != 0 || !pinned)
    {
        return false;
    }
    __atomic_store_n(&ioRecord.fConst, true, __ATOMIC_RELAXED);
    return true;
}

bool PConfig::_answers(const PConfigValue* iRecord, const PLiteral& iAttribute) noexcept
{
    return iRecord && (iAttribute.len() == 0 ||
                       iRecord->fAttributes.find(iAttribute) != iRecord->fAttributes.end());
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

template <class TCopy>
int PConfig::read(const PLiteral& iKey, const PLiteral& iAttribute, const TCopy& iCopy) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(PLiteral(), iKey, iAttribute);
    if (allowed != 0)
    {
        return allowed;
    }
    std::optional<PLockGuard> lock;
    if (hasSources())
    {
        lock.emplace(_implementation(fManager)->mutex());
    }
    PConfigValue* record = nullptr;
    const int result = lock && lock->result() == 0 ? _findUsedValue(iKey, iAttribute, record)
                                                   : findOwnValue(iKey, iAttribute, record);
    return result != 0 ? result : configResult(iCopy(*record));
}

template <class TConvert, class... TValue>
int PConfig::readAs(const TConvert& iConvert, const PLiteral& iKey, TValue&... oValue) noexcept
{
    PShortString<kShortText> text;
    const int result = getString(iKey, text);
    return result != 0 ? result : configResult(iConvert(text, oValue...));
}

template <class TConvert, class... TValue>
int PConfig::readAttrAs(const TConvert& iConvert, const PLiteral& iKey, const PLiteral& iAttribute,
                        TValue&... oValue) noexcept
{
    PShortString<kShortText> text;
    const int result = getAttrString(iKey, iAttribute, text);
    return result != 0 ? result : configResult(iConvert(text, oValue...));
}
