// SPDX-License-Identifier: MIT
// PElfNotes: the notes of one owner in an ELF file.
#ifndef IXLAL_TOOLS_PELFNOTES_H
#define IXLAL_TOOLS_PELFNOTES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct ElfNote
{
    std::uint32_t type = 0;
    std::string content;
};

/// A note segment in memory.
struct NoteSegment
{
    std::string bytes;
    std::size_t alignment = 4; ///< of the notes: 4 or 8
};

/// Reads the note segments of an ELF file of either word size and of this machine's byte order. The
/// file may be damaged. It is never mapped, because another process may cut it meanwhile.
class PElfNotes
{
public:
    /// The notes of the file at iPath.
    static PElfNotes ofFile(const std::string& iPath, const std::string& iOwner);

    /// The notes of a file with this content.
    static PElfNotes ofBytes(std::string_view iBytes, const std::string& iOwner);

    /// The notes of a library that is loaded.
    static PElfNotes ofSegments(const std::vector<NoteSegment>& iSegments,
                                const std::string& iOwner);

    const std::vector<ElfNote>& notes() const;

    /// Why the file has no notes: it cannot be read, or is no ELF file. Empty otherwise.
    const std::string& fault() const;

    /// Why notes are missing; one line for each damaged segment. A segment without the name of the
    /// owner is not judged: others may write in another form.
    const std::vector<std::string>& damage() const;

private:
    /// Returns the bytes at an offset, and fewer at the end of the file.
    typedef std::function<std::string(std::uint64_t iOffset, std::size_t iSize)> Source;

    explicit PElfNotes(const std::string& iOwner);

    void read(const Source& iSource);
    template <class THeader, class TSegment>
    void readSegments(const Source& iSource);
    void readSegment(const Source& iSource, std::uint64_t iOffset, std::uint64_t iSize,
                     std::size_t iAlignment);
    /// Appends the notes of a segment. Returns what is wrong with it; empty for nothing.
    std::string split(std::string_view iSegment, std::size_t iAlignment);

    const std::string fOwner; ///< with the zero at its end
    std::vector<ElfNote> fNotes;
    std::string fFault;
    std::vector<std::string> fDamage;
    std::uint64_t fSize = 0; ///< of the segments so far
};

#endif
