// SPDX-License-Identifier: MIT
// StoreScript: a reproducible sequence of store operations, and the effect of each on the store.
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

    /// A store with only the marker of a complete store. The marker's ID sorts after all others.
    static StoreModel marked();

    std::string text() const;

    /// The last line of a complete store.
    static constexpr char kMark[] = "~|end = .";

    std::map<std::string, Entry> entries;
};

/// The same seed gives the same operations.
class StoreScript
{
public:
    explicit StoreScript(unsigned int iSeed);

    /// Generates the next operation.
    void next();

    /// Runs it; returns its result.
    int run(IConfigManager& ioManager) const;

    /// Its effect on a store.
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

/// The progress of a child process, in memory that outlives it.
struct StoreProgress
{
    unsigned int begun; ///< number of started operations
    unsigned int done;
    int result; ///< the first code that the script does not allow
};

#endif
