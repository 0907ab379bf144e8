// SPDX-License-Identifier: MIT
// PRunningValue: explains the value that a key has in this process.
#ifndef IXLAL_TOOLS_PRUNNINGVALUE_H
#define IXLAL_TOOLS_PRUNNINGVALUE_H

#include "control/PControlServices.h"
#include "control/PLoadedKeys.h"
#include "shared/DeclaredKey.h"
#include "shared/PConfigFile.h"

#include <optional>
#include <string>
#include <vector>

/// The value of a key, the lines that name the key, and which source the value is from.
///
/// The interfaces do not show the source: it follows from comparing the value with those of the
/// files and of the store. A value that neither has was set at run time.
class PRunningValue
{
public:
    /// Throws PRequestError for names that the core refuses.
    PRunningValue(const PControlServices& iServices, const PString& iID, const PString& iKey);

    bool isFound() const noexcept;

    /// iIsSet says that the value is known to have been set at run time. iKey is the declaration of
    /// the key, null for none; its default is the value if there is no other.
    PJsonObject json(bool iIsSet, const DeclaredKey* iKey) const;

private:
    /// What the files, or the store, have for the key.
    struct Layer
    {
        std::optional<PString> value;
        bool isPinned = false;
    };

    struct Line
    {
        std::string file;
        unsigned int number = 0;
        bool isStored = false;
        std::string text;
    };

    /// The lines that name iKey; oArguments gets those that the core reads.
    void addLines(const PString& iPath, const PString& iKey, bool iIsStored,
                  std::vector<PString>& ioArguments);
    Layer read(const std::vector<PString>& iArguments) const;
    const char* source(bool iIsSet) const;
    void addDeclaration(PJsonObject& ioReply, const DeclaredKey& iKey) const;

    const PControlServices& fServices;
    const PString fID;
    const PString fKey;
    std::optional<PString> fValue;
    Layer fOwn;
    Layer fStored;
    std::vector<Line> fLines;
};

#endif
