// SPDX-License-Identifier: MIT
#include "config/PConfigKey.h"

#include <cwchar>

namespace
{
constexpr wchar_t kSeparator = L'|';
} // namespace

unsigned int PConfigKey::_ofName(const PLiteral& iName) noexcept
{
    const wchar_t* const text = iName.ptr();
    const wchar_t* const separator = std::wmemchr(text, kSeparator, iName.len());
    if (!separator)
    {
        return _hash(text, iName.len());
    }
    const auto idLen = static_cast<unsigned int>(separator - text);
    const unsigned int keyLen = iName.len() - idLen - 1;
    const unsigned int hash = _ofStoreKey(_hash(text, idLen), _hash(separator + 1, keyLen));
    return std::wmemchr(separator + 1, kSeparator, keyLen) ? hash ^ kSeparators : hash;
}

bool PConfigKey::isStoreKey(const PLiteral& iName, const PLiteral& iID) const noexcept
{
    const wchar_t* const name = iName.ptr();
    return iName.len() == iID.len() + 1 + text.len() &&
           std::wmemcmp(name + iID.len() + 1, text.ptr(), text.len()) == 0 &&
           name[iID.len()] == kSeparator && std::wmemcmp(name, iID.ptr(), iID.len()) == 0;
}
