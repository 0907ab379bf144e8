// SPDX-License-Identifier: MIT
#include "soak/StoreWorker.h"

#include "Ixla.h"
#include "support/CoreRun.h"
#include "support/Texts.h"

namespace
{
constexpr unsigned int kKeys = 12;
} // namespace

void StoreWorker::prepare(CoreRun&)
{
    fId = ownName(L"soak.store");
    PBaseptr<IConfig> config;
    const PBaseptr<IConfigManager> manager = service<IConfigManager>(kIxlaConfigManagerId);
    expect("load by ID", 0, manager->loadByID(fId.c_str(), config));
    for (unsigned int i = 0; i < kKeys; ++i)
    {
        const std::wstring key = L"key" + std::to_wstring(i);
        const auto stored = fValues.find(key);
        PString text;
        expect("read a stored value", stored == fValues.end() ? -504 : 0,
               config->getString(key.c_str(), text));
        check("stored value", stored == fValues.end() || stored->second.text == text.ptr(),
              narrow(text));
    }
}

void StoreWorker::verify(CoreRun& ioCore)
{
    std::string found;
    const std::string start = narrow(PLiteral(fId.c_str())) + "|";
    for (const std::string& line : readLines(ioCore.storeFile()))
    {
        found += line.starts_with(start) ? line + "\n" : "";
    }
    const std::string expected = expectedLines();
    check("store file", found == expected, found + "instead of\n" + expected);
}

void StoreWorker::begin()
{
    PBaseptr<IConfig> config;
    expect("load by ID", 0, fManager->loadByID(fId.c_str(), config));
}

void StoreWorker::step()
{
    const std::wstring key = L"key" + std::to_wstring(pick(kKeys));
    switch (pick(6))
    {
    case 0:
        return removeKey(key);
    case 1:
        return removeAttribute(key);
    case 2:
        return storeAttribute(key);
    default:
        return store(key);
    }
}

void StoreWorker::store(const std::wstring& iKey)
{
    const std::wstring text = L"value " + std::to_wstring(pick(100000));
    expect("store", 0, fManager->storeString(fId.c_str(), iKey.c_str(), text.c_str()));
    fValues[iKey].text = text;
}

void StoreWorker::storeAttribute(const std::wstring& iKey)
{
    const unsigned int number = pick(100);
    const auto stored = fValues.find(iKey);
    expect("store attribute", stored == fValues.end() ? -3002 : 0,
           fManager->storeAttrUint32(fId.c_str(), iKey.c_str(), L"unit", number));
    if (stored != fValues.end())
    {
        stored->second.attributes.emplace(L"unit", std::to_wstring(number));
    }
}

void StoreWorker::removeKey(const std::wstring& iKey)
{
    expect("remove stored key", 0, fManager->removeStoredKey(fId.c_str(), iKey.c_str()));
    fValues.erase(iKey);
}

void StoreWorker::removeAttribute(const std::wstring& iKey)
{
    expect("remove stored attribute", 0,
           fManager->removeStoredAttr(fId.c_str(), iKey.c_str(), L"unit"));
    const auto stored = fValues.find(iKey);
    if (stored != fValues.end())
    {
        stored->second.attributes.clear();
    }
}

std::string StoreWorker::expectedLines() const
{
    std::string lines;
    const auto add = [&lines](const std::wstring& iName, const std::wstring& iValue)
    {
        lines += narrow(PLiteral((iName + L" = " + iValue).c_str())) + "\n";
    };
    for (const auto& [key, value] : fValues)
    {
        std::wstring name = fId + L"|" + key;
        add(name, value.text);
        name += L":";
        for (const auto& [attribute, text] : value.attributes)
        {
            add(name + attribute, text);
        }
    }
    return lines;
}
