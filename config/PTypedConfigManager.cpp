// SPDX-License-Identifier: MIT
#include "config/PTypedConfigManager.h"

#include "config/PConfigResult.h"
#include "portinglayer/PUtils.h"

namespace
{
/// Texts up to this length are converted without allocating.
constexpr unsigned int kShortText = 127;
} // namespace

int PTypedConfigManager::put(const Convert& iConvert, TextOperation iOperation, const PLiteral& iID,
                             const PLiteral& iKey)
{
    PShortString<kShortText> text;
    const int result = iConvert(text);
    return result != 0 ? configResult(result) : (this->*iOperation)(iID, iKey, text);
}

int PTypedConfigManager::putAttr(const Convert& iConvert, AttrTextOperation iOperation,
                                 const PLiteral& iID, const PLiteral& iKey,
                                 const PLiteral& iAttribute)
{
    PShortString<kShortText> text;
    const int result = iConvert(text);
    return result != 0 ? configResult(result) : (this->*iOperation)(iID, iKey, iAttribute, text);
}

template <auto* tConvert, class... TValue>
int PTypedConfigManager::putAs(TextOperation iOperation, const PLiteral& iID, const PLiteral& iKey,
                               TValue... iValue)
{
    return put([&](PString& oText) { return tConvert(iValue..., oText); }, iOperation, iID, iKey);
}

template <auto* tConvert, class... TValue>
int PTypedConfigManager::putAttrAs(AttrTextOperation iOperation, const PLiteral& iID,
                                   const PLiteral& iKey, const PLiteral& iAttribute,
                                   TValue... iValue)
{
    return putAttr([&](PString& oText) { return tConvert(iValue..., oText); }, iOperation, iID,
                   iKey, iAttribute);
}

int PTypedConfigManager::setInt32(const PLiteral& iID, const PLiteral& iKey, int iValue)
{
    return putAs<&PUtils::int32ToStr>(&IConfigManager::setString, iID, iKey, iValue);
}

int PTypedConfigManager::setUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue)
{
    return putAs<&PUtils::uint32ToStr>(&IConfigManager::setString, iID, iKey, iValue);
}

int PTypedConfigManager::setInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue)
{
    return putAs<&PUtils::int64ToStr>(&IConfigManager::setString, iID, iKey, iValue);
}

int PTypedConfigManager::setUint64(const PLiteral& iID, const PLiteral& iKey,
                                   unsigned long long iValue)
{
    return putAs<&PUtils::uint64ToStr>(&IConfigManager::setString, iID, iKey, iValue);
}

int PTypedConfigManager::setBool(const PLiteral& iID, const PLiteral& iKey, bool iValue)
{
    return putAs<&PUtils::boolToStr>(&IConfigManager::setString, iID, iKey, iValue);
}

int PTypedConfigManager::setBinary(const PLiteral& iID, const PLiteral& iKey,
                                   const unsigned char* iData, unsigned int iSize)
{
    return putAs<&PUtils::binaryToStr>(&IConfigManager::setString, iID, iKey, iData, iSize);
}

int PTypedConfigManager::setAttrInt32(const PLiteral& iID, const PLiteral& iKey,
                                      const PLiteral& iAttribute, int iValue)
{
    return putAttrAs<&PUtils::int32ToStr>(&IConfigManager::setAttrString, iID, iKey, iAttribute,
                                          iValue);
}

int PTypedConfigManager::setAttrUint32(const PLiteral& iID, const PLiteral& iKey,
                                       const PLiteral& iAttribute, unsigned int iValue)
{
    return putAttrAs<&PUtils::uint32ToStr>(&IConfigManager::setAttrString, iID, iKey, iAttribute,
                                           iValue);
}

int PTypedConfigManager::setAttrInt64(const PLiteral& iID, const PLiteral& iKey,
                                      const PLiteral& iAttribute, long long iValue)
{
    return putAttrAs<&PUtils::int64ToStr>(&IConfigManager::setAttrString, iID, iKey, iAttribute,
                                          iValue);
}

int PTypedConfigManager::setAttrUint64(const PLiteral& iID, const PLiteral& iKey,
                                       const PLiteral& iAttribute, unsigned long long iValue)
{
    return putAttrAs<&PUtils::uint64ToStr>(&IConfigManager::setAttrString, iID, iKey, iAttribute,
                                           iValue);
}

int PTypedConfigManager::setAttrBool(const PLiteral& iID, const PLiteral& iKey,
                                     const PLiteral& iAttribute, bool iValue)
{
    return putAttrAs<&PUtils::boolToStr>(&IConfigManager::setAttrString, iID, iKey, iAttribute,
                                         iValue);
}

int PTypedConfigManager::setAttrBinary(const PLiteral& iID, const PLiteral& iKey,
                                       const PLiteral& iAttribute, const unsigned char* iData,
                                       unsigned int iSize)
{
    return putAttrAs<&PUtils::binaryToStr>(&IConfigManager::setAttrString, iID, iKey, iAttribute,
                                           iData, iSize);
}

int PTypedConfigManager::storeInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) noexcept
{
    return putAs<&PUtils::int32ToStr>(&IConfigManager::storeString, iID, iKey, iValue);
}

int PTypedConfigManager::storeUint32(const PLiteral& iID, const PLiteral& iKey,
                                     unsigned int iValue) noexcept
{
    return putAs<&PUtils::uint32ToStr>(&IConfigManager::storeString, iID, iKey, iValue);
}

int PTypedConfigManager::storeInt64(const PLiteral& iID, const PLiteral& iKey,
                                    long long iValue) noexcept
{
    return putAs<&PUtils::int64ToStr>(&IConfigManager::storeString, iID, iKey, iValue);
}

int PTypedConfigManager::storeUint64(const PLiteral& iID, const PLiteral& iKey,
                                     unsigned long long iValue) noexcept
{
    return putAs<&PUtils::uint64ToStr>(&IConfigManager::storeString, iID, iKey, iValue);
}

int PTypedConfigManager::storeBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) noexcept
{
    return putAs<&PUtils::boolToStr>(&IConfigManager::storeString, iID, iKey, iValue);
}

int PTypedConfigManager::storeBinary(const PLiteral& iID, const PLiteral& iKey,
                                     const unsigned char* iData, unsigned int iSize) noexcept
{
    return putAs<&PUtils::binaryToStr>(&IConfigManager::storeString, iID, iKey, iData, iSize);
}

int PTypedConfigManager::storeAttrInt32(const PLiteral& iID, const PLiteral& iKey,
                                        const PLiteral& iAttribute, int iValue) noexcept
{
    return putAttrAs<&PUtils::int32ToStr>(&IConfigManager::storeAttrString, iID, iKey, iAttribute,
                                          iValue);
}

int PTypedConfigManager::storeAttrUint32(const PLiteral& iID, const PLiteral& iKey,
                                         const PLiteral& iAttribute, unsigned int iValue) noexcept
{
    return putAttrAs<&PUtils::uint32ToStr>(&IConfigManager::storeAttrString, iID, iKey, iAttribute,
                                           iValue);
}

int PTypedConfigManager::storeAttrInt64(const PLiteral& iID, const PLiteral& iKey,
                                        const PLiteral& iAttribute, long long iValue) noexcept
{
    return putAttrAs<&PUtils::int64ToStr>(&IConfigManager::storeAttrString, iID, iKey, iAttribute,
                                          iValue);
}

int PTypedConfigManager::storeAttrUint64(const PLiteral& iID, const PLiteral& iKey,
                                         const PLiteral& iAttribute,
                                         unsigned long long iValue) noexcept
{
    return putAttrAs<&PUtils::uint64ToStr>(&IConfigManager::storeAttrString, iID, iKey, iAttribute,
                                           iValue);
}

int PTypedConfigManager::storeAttrBool(const PLiteral& iID, const PLiteral& iKey,
                                       const PLiteral& iAttribute, bool iValue) noexcept
{
    return putAttrAs<&PUtils::boolToStr>(&IConfigManager::storeAttrString, iID, iKey, iAttribute,
                                         iValue);
}

int PTypedConfigManager::storeAttrBinary(const PLiteral& iID, const PLiteral& iKey,
                                         const PLiteral& iAttribute, const unsigned char* iData,
                                         unsigned int iSize) noexcept
{
    return putAttrAs<&PUtils::binaryToStr>(&IConfigManager::storeAttrString, iID, iKey, iAttribute,
                                           iData, iSize);
}
