// SPDX-License-Identifier: MIT
#include "validate/PElfSymbols.h"

#include <bit>
#include <cstring>
#include <elf.h>
#include <filesystem>
#include <fstream>

namespace
{
/// Damaged headers could name more bytes than there is memory.
constexpr std::uint64_t kMostBytes = 64U << 20U;
constexpr char kByteOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

/// Fewer bytes at the end of the file.
std::string _bytes(std::istream& ioFile, std::uint64_t iOffset, std::uint64_t iSize)
{
    if (iSize > kMostBytes || iOffset > static_cast<std::uint64_t>(PTRDIFF_MAX))
    {
        return std::string();
    }
    std::string bytes(static_cast<std::size_t>(iSize), '\0');
    ioFile.clear();
    ioFile.seekg(static_cast<std::streamoff>(iOffset));
    ioFile.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(ioFile.gcount()));
    return bytes;
}

/// The whole entries of a table.
template <class TEntry>
std::vector<TEntry> _entries(const std::string& iTable)
{
    std::vector<TEntry> entries(iTable.size() / sizeof(TEntry));
    if (!entries.empty()) // which has no address that memcpy accepts
    {
        std::memcpy(entries.data(), iTable.data(), entries.size() * sizeof(TEntry));
    }
    return entries;
}

/// The name at an offset; empty outside of the table.
std::string _nameAt(const std::string& iNames, std::uint64_t iOffset)
{
    const std::size_t end = iOffset < iNames.size()
                                ? iNames.find('\0', static_cast<std::size_t>(iOffset))
                                : std::string::npos;
    return end == std::string::npos ? ""
                                    : iNames.substr(static_cast<std::size_t>(iOffset),
                                                    end - static_cast<std::size_t>(iOffset));
}
} // namespace

PElfSymbols PElfSymbols::ofFile(const std::string& iPath)
{
    PElfSymbols symbols;
    std::error_code ignored; // a file that cannot be read has no symbols
    if (!std::filesystem::is_regular_file(iPath, ignored)) // opening a named pipe would block
    {
        return symbols;
    }
    std::ifstream file(iPath, std::ios::binary);
    const std::string begin = _bytes(file, 0, EI_NIDENT);
    if (begin.size() < EI_NIDENT || begin.compare(0, SELFMAG, ELFMAG) != 0 ||
        begin[EI_DATA] != kByteOrder)
    {
        return symbols;
    }
    if (begin[EI_CLASS] == ELFCLASS32)
    {
        symbols.read<Elf32_Ehdr, Elf32_Shdr, Elf32_Sym, Elf32_Dyn>(file);
    }
    else if (begin[EI_CLASS] == ELFCLASS64)
    {
        symbols.read<Elf64_Ehdr, Elf64_Shdr, Elf64_Sym, Elf64_Dyn>(file);
    }
    return symbols;
}

bool PElfSymbols::defines(const std::string& iSymbol) const
{
    return fDefined.count(iSymbol) > 0;
}

const std::set<std::string>& PElfSymbols::defined() const
{
    return fDefined;
}

bool PElfSymbols::needs(const std::string& iSymbol) const
{
    return fRequired.count(iSymbol) > 0;
}

const std::vector<std::string>& PElfSymbols::libraries() const
{
    return fLibraries;
}

template <class THeader, class TSection, class TSymbol, class TDynamic>
void PElfSymbols::read(std::istream& ioFile)
{
    const auto headers = _entries<THeader>(_bytes(ioFile, 0, sizeof(THeader)));
    if (headers.empty() || headers[0].e_shentsize != sizeof(TSection))
    {
        return;
    }
    const std::uint64_t size = headers[0].e_shnum * sizeof(TSection);
    const auto sections = _entries<TSection>(_bytes(ioFile, headers[0].e_shoff, size));
    for (const TSection& section : sections)
    {
        const bool isTable = section.sh_type == SHT_DYNSYM || section.sh_type == SHT_DYNAMIC;
        if (!isTable || section.sh_link >= sections.size())
        {
            continue;
        }
        const TSection& linked = sections[section.sh_link];
        const std::string table = _bytes(ioFile, section.sh_offset, section.sh_size);
        const std::string names = _bytes(ioFile, linked.sh_offset, linked.sh_size);
        if (section.sh_type == SHT_DYNSYM)
        {
            addSymbols<TSymbol>(table, names);
        }
        else
        {
            addLibraries<TDynamic>(table, names);
        }
    }
}

template <class TSymbol>
void PElfSymbols::addSymbols(const std::string& iTable, const std::string& iNames)
{
    for (const TSymbol& symbol : _entries<TSymbol>(iTable))
    {
        (symbol.st_shndx == SHN_UNDEF ? fRequired : fDefined)
            .insert(_nameAt(iNames, symbol.st_name));
    }
}

template <class TDynamic>
void PElfSymbols::addLibraries(const std::string& iTable, const std::string& iNames)
{
    for (const TDynamic& entry : _entries<TDynamic>(iTable))
    {
        if (entry.d_tag == DT_NEEDED)
        {
            fLibraries.push_back(_nameAt(iNames, entry.d_un.d_val));
        }
    }
}
