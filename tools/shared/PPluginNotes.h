// SPDX-License-Identifier: MIT
// PPluginNotes: what a plugin library says about itself, read without running its code.
#ifndef IXLAL_TOOLS_PPLUGINNOTES_H
#define IXLAL_TOOLS_PPLUGINNOTES_H

#include "shared/PElfNotes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A line of a note.
struct NoteField
{
    std::string name;
    std::vector<std::string> values; ///< one at least; in UTF-8, possibly with control characters
};

/// A note of IXLA_PLUGIN_NOTE.
struct PluginNote
{
    std::uint32_t type = 0; ///< see EIxlaNote
    std::vector<NoteField> fields;
};

/// The notes of a library. Notes of unknown types are skipped. Of a note with a newer format, the
/// lines that have the form of a field are read.
class PPluginNotes
{
public:
    /// Those of the library at iPath.
    static PPluginNotes ofFile(const std::string& iPath);

    /// Those of a library with this content.
    static PPluginNotes ofBytes(std::string_view iBytes);

    /// Those of a library that is loaded.
    static PPluginNotes ofSegments(const std::vector<NoteSegment>& iSegments);

    /// In the order of the file.
    const std::vector<PluginNote>& notes() const;

    /// Why the library has no notes: it cannot be read, or is no ELF file. Empty otherwise; a
    /// library without notes is no fault.
    const std::string& fault() const;

    /// What is wrong with the notes, one line each. The valid parts are in notes().
    const std::vector<std::string>& damage() const;

    /// Whether a note has a newer format than this tool.
    bool hasNewer() const;

private:
    explicit PPluginNotes(const PElfNotes& iNotes);

    void add(const ElfNote& iNote, const std::string& iWhich);
    /// Returns what is wrong with the text; empty for nothing.
    std::string parse(std::string_view iText, PluginNote& oNote);

    std::vector<PluginNote> fNotes;
    std::string fFault;
    std::vector<std::string> fDamage;
    bool fHasNewer = false;
};

#endif
