// SPDX-License-Identifier: MIT
#include "config/PConfigAttributes.h"

namespace
{
/// Never destroyed, because configurations may outlive the static objects.
union None
{
    None() noexcept : table()
    {
    }

    ~None()
    {
    }

    const PConfigAttributes::Table table;
};
const None sNone;
} // namespace

PString* PConfigAttributes::find(const PLiteral& iName) const noexcept
{
    if (!fTable)
    {
        return nullptr;
    }
    const auto place = fTable->find(iName);
    return place != fTable->end() ? &place->second : nullptr;
}

void PConfigAttributes::add(const PLiteral& iName, const PLiteral& iText)
{
    if (!fTable)
    {
        fTable = std::make_unique<Table>();
    }
    const auto place = fTable->lower_bound(iName);
    if (place == fTable->end() || place->first != iName)
    {
        fTable->emplace_hint(place, iName, iText);
    }
}

void PConfigAttributes::remove(const PLiteral& iName) noexcept
{
    if (!fTable)
    {
        return;
    }
    const auto place = fTable->find(iName);
    if (place != fTable->end())
    {
        fTable->erase(place);
    }
}

const PConfigAttributes::Table& PConfigAttributes::all() const noexcept
{
    return fTable ? *fTable : sNone.table;
}
