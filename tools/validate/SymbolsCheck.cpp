// SPDX-License-Identifier: MIT
// The check for exported symbols beside the factory.

#include "validate/PCheck.h"
#include "validate/PElfSymbols.h"
#include "validate/PTrial.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <regex>

namespace
{
constexpr std::size_t kShownSymbols = 3;

/// Whether the linker, or an instance of a template of the C++ library, makes a symbol. Neither
/// depends on the sources of the plugin.
bool _isIncidental(const std::string& iSymbol)
{
    static const std::array<const char*, 5> sOfLinker = {"_init", "_fini", "_edata", "_end",
                                                         "__bss_start"};
    static const std::regex sOfLibrary("_Z(GV|GR|T[ISVTC])?Z?N?K?(S[tabsiod]|9__gnu_cxx).*");
    return iSymbol.empty() || std::regex_match(iSymbol, sOfLibrary) ||
           std::find(sOfLinker.begin(), sOfLinker.end(), iSymbol) != sOfLinker.end();
}

std::string _demangled(const std::string& iSymbol)
{
    int result = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(iSymbol.c_str(), nullptr, nullptr, &result), &std::free);
    return result == 0 ? text.get() : iSymbol;
}
} // namespace

// cppcheck-suppress constParameter; the table of checks has this type
PVerdict checkSymbols(PTrial& ioTrial)
{
    const PElfSymbols symbols = PElfSymbols::ofFile(ioTrial.options().plugin);
    std::string text;
    std::size_t count = 0;
    for (const std::string& symbol : symbols.defined())
    {
        if (symbol != PTrial::kFactorySymbol && !_isIncidental(symbol) && ++count <= kShownSymbols)
        {
            text += (text.empty() ? "" : ", ") + _demangled(symbol);
        }
    }
    if (count > kShownSymbols)
    {
        text += " and " + std::to_string(count - kShownSymbols) + " more";
    }
    return count == 0 ? PVerdict::pass("exports nothing beside the factory")
                      : PVerdict::fail("exports " + text,
                                       "build it with ixlal_add_plugin, or with "
                                       "-fvisibility=hidden and the version script plugin.map");
}
