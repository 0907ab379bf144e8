// SPDX-License-Identifier: MIT
// PStoreRepair: removes the lines of a store that a core cannot read.
#ifndef IXLAL_TOOLS_PSTOREREPAIR_H
#define IXLAL_TOOLS_PSTOREREPAIR_H

#include <string>
#include <vector>

/// Keeps the bytes of every other line, comments included. The damaged store stays as
/// STORE.damaged, STORE.damaged.2 and so on.
class PStoreRepair
{
public:
    /// A line that a person has to look at.
    struct Line
    {
        unsigned int number = 0;
        bool isKept = false; ///< the last line, whose value may be cut short
        std::string text;
    };

    /// Repairs the store. Throws PFileError; the store is unchanged then.
    explicit PStoreRepair(const std::string& iPath);

    const std::vector<Line>& lines() const;

    /// The path of the damaged store; empty if nothing was to be repaired.
    const std::string& original() const;

private:
    std::string collect(const std::string& iBytes, const std::string& iPath);

    std::vector<Line> fLines;
    std::string fOriginal;
};

#endif
