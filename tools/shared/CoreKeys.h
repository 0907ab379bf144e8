// SPDX-License-Identifier: MIT
// CoreKeys: the configuration keys of the core.
#ifndef IXLAL_TOOLS_COREKEYS_H
#define IXLAL_TOOLS_COREKEYS_H

#include <span>
#include <string>
#include <string_view>

/// A key that the core itself reads. Documents and tests compare this table with the sources.
struct CoreKey
{
    enum EType
    {
        eFile,
        eDirectory,
        eList,   ///< names, separated by commas
        eNumber, ///< with an optional sign
        eCount,  ///< a number from 0
        eTruth
    };

    /// Where the core reads the key; a combination of bits.
    enum EPlace : unsigned int
    {
        eArgument = 1,
        ePropertyFile = 2,
        eManagerFile = 4, ///< ixlap.configmanager.prs
        ePluginFile = 8   ///< a file of an ID, which has no key of the core
    };

    std::string_view name; ///< "custom.config.NAME" stands for any NAME
    EType type = eFile;
    unsigned int places = 0;
    std::string_view byDefault;
    std::string_view meaning;
    std::string_view ifWrong;    ///< what the core does with a value of another type
    std::string_view ifNegative; ///< the same with a negative number, for eCount
};

/// All keys, in the order of the documentation.
std::span<const CoreKey> coreKeys();

/// The key of that name; null for none.
const CoreKey* findCoreKey(std::string_view iName);

/// The name that is probably meant by iName, which is no key; empty if none is similar.
std::string similarCoreKey(const std::string& iName);

/// The type and the places, for a reader.
std::string typeText(CoreKey::EType iType);
std::string placesText(unsigned int iPlaces);

#endif
