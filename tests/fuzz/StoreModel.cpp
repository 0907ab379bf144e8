// SPDX-License-Identifier: MIT
#include "fuzz/StoreModel.h"

#include "fuzz/ConversionModel.h"

#include <algorithm>

namespace
{
constexpr int kForbidden = -3004;
constexpr int kNotFound = -504;
constexpr int kNotLoaded = -2002;
constexpr int kNoValue = -3002;

bool _areNames(const std::wstring& iID, const std::wstring& iKey, const std::wstring& iAttribute)
{
    return LineModel::isName(iID) && LineModel::isName(iKey) && LineModel::isName(iAttribute);
}

std::wstring _storeKey(const std::wstring& iID, const std::wstring& iKey)
{
    return iID + L'|' + iKey;
}
} // namespace

StoreModel::StoreModel(const ModelValues& iOwn) : fOwn(iOwn)
{
}

void StoreModel::restart()
{
    fLoaded = false;
    fSnapshot.reset();
    fPinned.clear();
}

void StoreModel::load()
{
    fLoaded = true;
}

int StoreModel::parse(ModelValues& oValues) const
{
    return fLoaded ? LineModel::appendFile(fLines, oValues) : kNotLoaded;
}

void StoreModel::save(const ModelValues& iValues)
{
    fLines = LineModel::render(iValues);
}

int StoreModel::store(const std::wstring& iID, const std::wstring& iKey, const std::wstring& iValue)
{
    ModelValues values;
    const int result = _areNames(iID, iKey, L"") ? parse(values) : kForbidden;
    if (result == 0)
    {
        values[_storeKey(iID, iKey)].value = iValue;
        save(values);
    }
    return result;
}

int StoreModel::storeAttribute(const std::wstring& iID, const std::wstring& iKey,
                               const std::wstring& iAttribute, const std::wstring& iValue)
{
    ModelValues values;
    const int result = _areNames(iID, iKey, iAttribute) ? parse(values) : kForbidden;
    if (result != 0)
    {
        return result;
    }
    const auto record = values.find(_storeKey(iID, iKey));
    if (record == values.end())
    {
        return kNoValue;
    }
    record->second.attributes.emplace(iAttribute, iValue);
    save(values);
    return 0;
}

int StoreModel::remove(const std::wstring& iID, const std::wstring& iKey)
{
    ModelValues values;
    const int result = _areNames(iID, iKey, L"") ? parse(values) : kForbidden;
    if (result == 0)
    {
        values.erase(_storeKey(iID, iKey));
        save(values);
        if (fSnapshot)
        {
            fSnapshot->erase(_storeKey(iID, iKey));
        }
    }
    return result;
}

int StoreModel::removeAttribute(const std::wstring& iID, const std::wstring& iKey,
                                const std::wstring& iAttribute)
{
    ModelValues values;
    const int result = _areNames(iID, iKey, iAttribute) ? parse(values) : kForbidden;
    if (result != 0)
    {
        return result;
    }
    const std::wstring storeKey = _storeKey(iID, iKey);
    if (values.count(storeKey) > 0)
    {
        values[storeKey].attributes.erase(iAttribute);
    }
    if (fSnapshot && fSnapshot->count(storeKey) > 0)
    {
        (*fSnapshot)[storeKey].attributes.erase(iAttribute);
    }
    save(values);
    return 0;
}

int StoreModel::list(const std::vector<std::wstring>& iListed,
                     std::vector<std::wstring>& oIDs) const
{
    ModelValues values;
    const int result = parse(values);
    if (result != 0)
    {
        return result;
    }
    const auto add = [&oIDs](const std::wstring& iID)
    {
        if (std::find(oIDs.begin(), oIDs.end(), iID) == oIDs.end())
        {
            oIDs.push_back(iID);
        }
    };
    for (const auto& [key, record] : values)
    {
        if (key.find(L'|') != std::wstring::npos)
        {
            add(key.substr(0, key.find(L'|')));
        }
    }
    std::for_each(iListed.begin(), iListed.end(), add);
    return 0;
}

bool StoreModel::_isPinned(const ModelRecord& iRecord)
{
    bool pinned = false;
    const auto attribute = iRecord.attributes.find(L"const");
    return attribute != iRecord.attributes.end() &&
           ConversionModel::toBool(attribute->second, pinned) == 0 && pinned;
}

/// The record that is read; null for none. Without a readable file there are no stored values.
const ModelRecord* StoreModel::choose(const std::wstring& iID, bool iHasOwn,
                                      const std::wstring& iKey, const std::wstring* iAttribute)
{
    ModelValues read;
    if (!fSnapshot && parse(read) == 0)
    {
        fSnapshot = read;
    }
    const auto own = iHasOwn ? fOwn.find(iKey) : fOwn.end();
    if (own != fOwn.end() && _isPinned(own->second))
    {
        return &own->second;
    }
    const std::wstring storeKey = _storeKey(iID, iKey);
    if (fSnapshot && fSnapshot->count(storeKey) > 0)
    {
        const ModelRecord& stored = (*fSnapshot)[storeKey];
        if (_isPinned(stored))
        {
            fPinned.insert(storeKey);
        }
        if (fPinned.count(storeKey) > 0 || !iAttribute || stored.attributes.count(*iAttribute) > 0)
        {
            return &stored;
        }
    }
    return own != fOwn.end() ? &own->second : nullptr;
}

int StoreModel::read(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey,
                     std::wstring& oValue)
{
    if (!LineModel::isName(iKey))
    {
        return kForbidden;
    }
    const ModelRecord* const record = choose(iID, iHasOwn, iKey, nullptr);
    oValue = record ? record->value : oValue;
    return record ? 0 : kNotFound;
}

int StoreModel::readAttribute(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey,
                              const std::wstring& iAttribute, std::wstring& oValue)
{
    if (!LineModel::isName(iKey) || !LineModel::isName(iAttribute))
    {
        return kForbidden;
    }
    const ModelRecord* const record =
        choose(iID, iHasOwn, iKey, iAttribute.empty() ? nullptr : &iAttribute);
    if (!record || record->attributes.count(iAttribute) == 0)
    {
        return kNotFound;
    }
    oValue = record->attributes.at(iAttribute);
    return 0;
}

void StoreModel::addLine(const std::wstring& iLine)
{
    fLines.push_back(iLine);
}

void StoreModel::deleteFile()
{
    fLines.clear();
}
