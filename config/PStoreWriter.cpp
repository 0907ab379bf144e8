// SPDX-License-Identifier: MIT
#include "config/PStoreWriter.h"

#include "PGuarded.h"
#include "config/PConfigResult.h"

#include <algorithm>
#include <initializer_list>

namespace
{
const PLiteral sAssign(L" = ");
const PLiteral sAttribute(L":");

unsigned int _longestLine(const PConfigValues::Records& iRecords) noexcept
{
    unsigned int longest = 0;
    for (const PConfigRecord* record : iRecords)
    {
        const unsigned int keyLen = record->key.len();
        longest = std::max(longest, keyLen + record->value.fValue.len());
        for (const auto& attribute : record->value.fAttributes.all())
        {
            longest = std::max(longest, keyLen + sAttribute.len() + attribute->name.len() +
                                            attribute->text.len());
        }
    }
    return longest + sAssign.len();
}

int _join(std::initializer_list<const PLiteral*> iParts, PString& oLine) noexcept
{
    int result = 0;
    oLine.clear();
    for (const auto* part = iParts.begin(); part != iParts.end() && result == 0; ++part)
    {
        result = oLine.cat(**part);
    }
    return result;
}
} // namespace

int PStoreWriter::prepare(const PConfigValues& iValues) noexcept
{
    const int ordered = ixlaGuarded(
        [&]
        {
            fRecords = iValues.inOrder();
            return eIxlaOk;
        });
    if (ordered != 0)
    {
        return ordered;
    }
    const unsigned int longest = _longestLine(fRecords);
    const int result = fLine.reserve(longest);
    return configResult(result != 0 ? result : fFile.reserve(longest));
}

int PStoreWriter::create(const PLiteral& iPath) noexcept
{
    return fFile.popen(iPath, PFile::eWrite | PFile::eNewText | PFile::eCreate, 0);
}

int PStoreWriter::write() noexcept
{
    int result = 0;
    for (auto record = fRecords.begin(); record != fRecords.end() && result == 0; ++record)
    {
        result = writeRecord((*record)->key, (*record)->value);
    }
    const int closed = fFile.pclose();
    return result != 0 ? result : closed;
}

int PStoreWriter::writeRecord(const PLiteral& iKey, const PConfigValue& iRecord) noexcept
{
    int result = _join({&iKey, &sAssign, &iRecord.fValue}, fLine);
    if (result == 0)
    {
        result = fFile.pwriteLine(fLine);
    }
    const PConfigAttributes::Table& attributes = iRecord.fAttributes.all();
    for (auto attribute = attributes.begin(); attribute != attributes.end() && result == 0;
         ++attribute)
    {
        result =
            _join({&iKey, &sAttribute, &(*attribute)->name, &sAssign, &(*attribute)->text}, fLine);
        if (result == 0)
        {
            result = fFile.pwriteLine(fLine);
        }
    }
    return result;
}
