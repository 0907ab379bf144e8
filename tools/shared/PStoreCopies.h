// SPDX-License-Identifier: MIT
// PStoreCopies: the copies of a store.
#ifndef IXLAL_TOOLS_PSTORECOPIES_H
#define IXLAL_TOOLS_PSTORECOPIES_H

#include "shared/PStoreFile.h"
#include "shared/PStoreText.h"

#include <optional>
#include <string>
#include <vector>

/// The copies are in the directory of the store. STORE.1 is the newest one, STORE.2 the one before
/// it. STORE.0 exists after a process was killed while it renamed them, and is newer then.
/// STORE.held is the copy from before a loss. It stays until restore resolves the loss, backUp
/// accepts it, or a newer copy has all its entries again. All operations throw PFileError; the
/// files are whole then.
class PStoreCopies
{
public:
    /// The most that iCount may be; the least is 1.
    static constexpr unsigned int kMostCopies = 99;

    /// Locks the directory of the store.
    explicit PStoreCopies(const std::string& iStorePath);

    /// Before a core starts: copies a store that differs from its newest copy, and removes copies
    /// beyond iCount. A store that is missing, empty or damaged is not copied. When the store lost
    /// values that the newest copy has, that copy is held. Returns a text about a loss, or an empty
    /// one.
    std::string keep(unsigned int iCount);

    /// Copies a store that is not damaged, whatever it lost; a held copy becomes an ordinary one.
    /// Returns the path of the copy.
    std::string backUp(unsigned int iCount);

    /// Copies such a store to a file that does not exist.
    void backUpTo(const std::string& iPath);

    struct Restored
    {
        std::string source;      ///< path of the copy
        std::string replaced;    ///< path of the replaced store, empty for none
        std::size_t entries = 0; ///< in the copy
    };

    /// Replaces the store by a copy: iPath, or without one the held copy, or the newest one. The
    /// replaced store becomes STORE.replaced.
    Restored restore(const std::string& iPath);

private:
    std::string numbered(unsigned int iNumber) const;
    std::string held() const;
    std::string newest() const;
    std::string best() const;
    std::optional<PStoreText> readText(const std::string& iName) const;
    std::string requireWhole() const;
    std::string findLoss(const std::optional<std::string>& iBytes) const;
    void hold();
    bool releaseHeld();
    void rotate(const std::string& iBytes, unsigned int iCount);
    void finishRotation(unsigned int iCount);

    PStoreFile fStore;
};

#endif
