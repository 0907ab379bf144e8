// SPDX-License-Identifier: MIT
#include "config/PConfigAttributes.h"

#include <algorithm>
#include <new>

namespace
{
typedef PConfigAttributes::Table Table;

/// Never destroyed, because configurations may outlive the static objects.
union None
{
    None() noexcept : table()
    {
    }

    ~None()
    {
    }

    const Table table;
};
const None sNone;

/// The place of the attribute iName, or of the first one after it.
Table::iterator _placeOf(Table& ioTable, const PLiteral& iName) noexcept
{
    return std::lower_bound(ioTable.begin(), ioTable.end(), iName,
                            [](const auto& iAttribute, const PLiteral& iSought)
                            { return iAttribute->name < iSought; });
}
} // namespace

PConfigAttribute* PConfigAttribute::_create(const PLiteral& iName, const PLiteral& iText)
{
    const std::size_t characters = iName.len() + 1u + iText.len() + 1u;
    void* const memory = ::operator new(sizeof(PConfigAttribute) + characters * sizeof(wchar_t));
    auto* const texts = reinterpret_cast<wchar_t*>(static_cast<PConfigAttribute*>(memory) + 1);
    return ::new (memory) PConfigAttribute(iName, iText, texts);
}

const PLiteral* PConfigAttributes::find(const PLiteral& iName) const noexcept
{
    if (!fContent)
    {
        return nullptr;
    }
    const auto place = _placeOf(fContent->all, iName);
    return place != fContent->all.end() && (*place)->name == iName ? &(*place)->text : nullptr;
}

void PConfigAttributes::add(const PLiteral& iName, const PLiteral& iText)
{
    if (!fContent)
    {
        fContent = std::make_unique<Content>();
    }
    const auto place = _placeOf(fContent->all, iName);
    if (place == fContent->all.end() || (*place)->name != iName)
    {
        fContent->all.insert(place, Table::value_type(PConfigAttribute::_create(iName, iText)));
    }
}

void PConfigAttributes::remove(const PLiteral& iName) noexcept
{
    if (!fContent)
    {
        return;
    }
    const auto place = _placeOf(fContent->all, iName);
    if (place != fContent->all.end() && (*place)->name == iName)
    {
        fContent->all.erase(place);
    }
}

const Table& PConfigAttributes::all() const noexcept
{
    return fContent ? fContent->all : sNone.table;
}
