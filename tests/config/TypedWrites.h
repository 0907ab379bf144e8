// SPDX-License-Identifier: MIT
// TypedWrites: the operations that set or store a value of each type, also a text.
#ifndef IXLAL_TESTS_TYPEDWRITES_H
#define IXLAL_TESTS_TYPEDWRITES_H

#include "IConfigManager.h"

/// Those of one kind. Before the value they have texts: an ID, a key and perhaps an attribute.
template <class... TNames>
struct TypedWrites
{
    template <class... TValue>
    using Write = int (IConfigManager::*)(TNames..., TValue...);

    Write<const PLiteral&> text;
    Write<int> int32;
    Write<unsigned int> uint32;
    Write<long long> int64;
    Write<unsigned long long> uint64;
    Write<bool> truth;
    Write<const unsigned char*, unsigned int> binary;
};

typedef TypedWrites<const PLiteral&, const PLiteral&> ValueWrites;
typedef TypedWrites<const PLiteral&, const PLiteral&, const PLiteral&> AttributeWrites;

constexpr ValueWrites kSetWrites = {&IConfigManager::setString, &IConfigManager::setInt32,
                                    &IConfigManager::setUint32, &IConfigManager::setInt64,
                                    &IConfigManager::setUint64, &IConfigManager::setBool,
                                    &IConfigManager::setBinary};
constexpr ValueWrites kStoreWrites = {&IConfigManager::storeString, &IConfigManager::storeInt32,
                                      &IConfigManager::storeUint32, &IConfigManager::storeInt64,
                                      &IConfigManager::storeUint64, &IConfigManager::storeBool,
                                      &IConfigManager::storeBinary};
constexpr AttributeWrites kSetAttrWrites = {
    &IConfigManager::setAttrString, &IConfigManager::setAttrInt32,  &IConfigManager::setAttrUint32,
    &IConfigManager::setAttrInt64,  &IConfigManager::setAttrUint64, &IConfigManager::setAttrBool,
    &IConfigManager::setAttrBinary};
constexpr AttributeWrites kStoreAttrWrites = {
    &IConfigManager::storeAttrString, &IConfigManager::storeAttrInt32,
    &IConfigManager::storeAttrUint32, &IConfigManager::storeAttrInt64,
    &IConfigManager::storeAttrUint64, &IConfigManager::storeAttrBool,
    &IConfigManager::storeAttrBinary};

#endif
