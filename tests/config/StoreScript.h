// SPDX-License-Identifier: MIT
// StoreScript: a reproducible sequence of store operations, and what each makes of the store.
#ifndef IXLAL_TESTS_STORESCRIPT_H
#define IXLAL_TESTS_STORESCRIPT_H

#include "IConfigManager.h"

#include <map>
#include <random>
#include <string>

/// The entries of a store, with the text of the file that holds them.
class StoreModel
{
public:
    struct Entry
    {
        std::string value;
        std::map<std::string, std::string> attributes;
    };

    /// A store that only holds the mark of being whole. Its ID sorts behind all others.
    static StoreModel marked();

    std::string text() const;

    /// The line that is the last one of a whole store.
    static constexpr char kMark[] = "~|end = .";

    std::map<std::string, Entry> entries;
};

/// The same seed gives the same operations.
class StoreScript
{
public:
    explicit StoreScript(unsigned int iSeed);

    /// Makes the next operation up.
    void next();

    /// Runs it; returns its result.
    int run(IConfigManager& ioManager) const;

    /// What it does to a store.
    void apply(StoreModel& ioModel) const;

    static constexpr char kID[] = "net";

private:
    enum EKind
    {
        eStore,
        eStoreAttribute,
        eRemove,
        eRemoveAttribute
    };

    unsigned int draw(unsigned int iBelow);

    std::mt19937 fRandom;
    EKind fKind = eStore;
    unsigned int fNumber = 0;
    std::string fKey;
    std::string fAttribute;
    std::string fText;
};

/// How far a child has got, in memory that outlives it.
struct StoreProgress
{
    unsigned int begun; ///< operations that were begun
    unsigned int done;
    int result; ///< the first code other than those that the script allows
};

#endif
