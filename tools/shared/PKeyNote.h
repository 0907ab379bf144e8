// SPDX-License-Identifier: MIT
// PKeyNote: the declared keys in a note of a plugin library.
#ifndef IXLAL_TOOLS_PKEYNOTE_H
#define IXLAL_TOOLS_PKEYNOTE_H

#include "shared/DeclaredKey.h"
#include "shared/PPluginNotes.h"

#include <string>
#include <vector>

/// Reads a note of IXLA_CONFIG. Fields that it does not know are skipped.
class PKeyNote
{
public:
    explicit PKeyNote(const PluginNote& iNote);

    /// The configuration ID; empty for a note without one, which has no keys either.
    const std::string& id() const;

    /// The keys that can be used, in the order of their declaration.
    const std::vector<DeclaredKey>& keys() const;

    /// What is wrong with the note, one line each.
    const std::vector<std::string>& damage() const;

private:
    void beginKey(const NoteField& iField);
    void describeKey(const NoteField& iField);
    void endKey();
    std::string faultOfKey() const;

    std::string fID;
    std::vector<DeclaredKey> fKeys;
    std::vector<std::string> fDamage;
    DeclaredKey fKey; ///< the one that is being read
    bool fHasKey = false;
    bool fHasDefault = false;
    std::string fFault; ///< of fKey
};

#endif
