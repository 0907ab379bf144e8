// SPDX-License-Identifier: MIT
// PElfSymbols: the dynamic symbols of a shared library.
#ifndef IXLAL_TOOLS_PELFSYMBOLS_H
#define IXLAL_TOOLS_PELFSYMBOLS_H

#include <iosfwd>
#include <set>
#include <string>
#include <vector>

/// Reads files of either word size without loading them. A file that is damaged, or is no ELF file
/// of this machine's byte order, has no symbols.
class PElfSymbols
{
public:
    static PElfSymbols ofFile(const std::string& iPath);

    /// Whether the library exports a symbol.
    bool defines(const std::string& iSymbol) const;

    /// The names of the exported symbols.
    const std::set<std::string>& defined() const;

    /// Whether the library needs a symbol of another library.
    bool needs(const std::string& iSymbol) const;

    /// The names of the libraries that it needs.
    const std::vector<std::string>& libraries() const;

private:
    template <class THeader, class TSection, class TSymbol, class TDynamic>
    void read(std::istream& ioFile);
    template <class TSymbol>
    void addSymbols(const std::string& iTable, const std::string& iNames);
    template <class TDynamic>
    void addLibraries(const std::string& iTable, const std::string& iNames);

    std::set<std::string> fDefined;
    std::set<std::string> fRequired;
    std::vector<std::string> fLibraries;
};

#endif
