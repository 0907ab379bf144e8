// SPDX-License-Identifier: MIT
// The checks that need no core.

#include "helpers/Text.h"
#include "validate/InformationCheck.h"
#include "validate/PCheck.h"
#include "validate/PTrial.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <set>
#include <sys/stat.h>
#include <system_error>

namespace
{
constexpr unsigned char kOwnClass = sizeof(void*) == 4 ? ELFCLASS32 : ELFCLASS64;
constexpr int kOwnBits = 8 * sizeof(void*);
constexpr unsigned int kMostIds = 1000000;

/// Judges the ELF header; its first fields are the same for both word sizes.
PVerdict _judgeHeader(const Elf32_Ehdr& iHeader)
{
    if (std::memcmp(iHeader.e_ident, ELFMAG, SELFMAG) != 0)
    {
        return PVerdict::fail("is not a library: it does not start with an ELF header",
                              "pass the file that the linker created");
    }
    if (iHeader.e_ident[EI_CLASS] != kOwnClass)
    {
        return PVerdict::fail("is a " + std::to_string(96 - kOwnBits) +
                                  "-bit file, the core is a " + std::to_string(kOwnBits) +
                                  "-bit one",
                              "compile and link it with -m" + std::to_string(kOwnBits));
    }
    if (iHeader.e_type != ET_DYN)
    {
        return PVerdict::fail("is an ELF file, but not a shared library",
                              "link it with -shared, and compile with -fPIC");
    }
    return PVerdict::pass(std::to_string(kOwnBits) + "-bit shared library");
}

std::string _loadAdvice(const std::string& iError)
{
    if (iError.find("undefined symbol") != std::string::npos)
    {
        return "link the library that defines it; -Wl,--no-undefined makes it a link error";
    }
    if (iError.find("cannot open shared object file") != std::string::npos)
    {
        return "install the library that it needs, or link with a run path to it";
    }
    return "link it again, so that it loads with its own libraries only";
}

PVerdict _countIs(const std::string& iOperation, int iSeen, int iExpected)
{
    return PVerdict::fail(iOperation + " returned " + std::to_string(iSeen) + " instead of " +
                              std::to_string(iExpected),
                          "start with a count of 0 and return the new count, as PCounted does");
}

/// The result of one call of getInterfaces.
struct Listed
{
    const PString* array = nullptr;
    unsigned int count = 0;
};

Listed _list(IPlugin& ioPlugin)
{
    Listed listed;
    listed.array = ioPlugin.getInterfaces(listed.count);
    return listed;
}

/// The number of elements of an array from new[]. The compiler stores it before the array, for
/// delete[].
std::size_t _allocatedCount(const PString* iArray)
{
    std::size_t count = 0;
    std::memcpy(&count, reinterpret_cast<const unsigned char*>(iArray) - sizeof count,
                sizeof count);
    return count;
}

PVerdict _judgeArray(const Listed& iListed)
{
    const std::string count = std::to_string(iListed.count);
    if (!iListed.array)
    {
        return PVerdict::fail("getInterfaces returned null and a count of " + count,
                              "return null with a count of 0 when there are no interfaces");
    }
    if (iListed.count == 0)
    {
        return PVerdict::fail("getInterfaces returned an array and a count of 0",
                              "set the count to the length of the array");
    }
    const std::size_t allocated = _allocatedCount(iListed.array);
    if (iListed.count > kMostIds || allocated != iListed.count)
    {
        return PVerdict::fail("getInterfaces says " + count + " for an array of " +
                                  std::to_string(allocated),
                              "return an array made with new PString[count] and its length");
    }
    return PVerdict::pass(count + (iListed.count == 1 ? " interface" : " interfaces"));
}

bool _isBuiltIn(const PLiteral& iId)
{
    return iId == kIxlaConfigManagerId || iId == kIxlaEventDispatcherId || iId == kIxlaLoggerId;
}

std::set<std::string> _idsOf(const Listed& iListed)
{
    std::set<std::string> ids;
    for (unsigned int i = 0; i < iListed.count; ++i)
    {
        ids.insert(ixlaNarrow(iListed.array[i]));
    }
    return ids;
}

PVerdict _judgeIds(const Listed& iListed)
{
    std::set<std::string> seen;
    for (unsigned int i = 0; i < iListed.count; ++i)
    {
        const std::string id = ixlaNarrow(iListed.array[i]);
        if (id.empty())
        {
            return PVerdict::fail("lists an empty interface ID", "give every interface an ID");
        }
        if (_isBuiltIn(iListed.array[i]))
        {
            return PVerdict::fail("lists \"" + id + "\", which the core itself offers",
                                  "give the interface an ID of its own");
        }
        if (!seen.insert(id).second)
        {
            return PVerdict::fail("lists \"" + id + "\" more than once", "list every ID once");
        }
    }
    return PVerdict::pass("");
}

PVerdict _judgeRepetition(const Listed& iFirst, const Listed& iAgain)
{
    if (iFirst.array && iFirst.array == iAgain.array)
    {
        return PVerdict::fail("getInterfaces returned the same array twice",
                              "return a new array each time: the caller frees it");
    }
    bool same = iFirst.count == iAgain.count && !iFirst.array == !iAgain.array;
    for (unsigned int i = 0; same && i < iFirst.count; ++i)
    {
        same = iFirst.array[i] == iAgain.array[i];
    }
    return same ? PVerdict::pass("")
                : PVerdict::fail("the second call of getInterfaces listed other IDs",
                                 "list the same IDs in the same order every time");
}
} // namespace

PVerdict checkFile(PTrial& ioTrial)
{
    const std::string& file = ioTrial.options().plugin;
    struct stat status = {};
    if (::stat(file.c_str(), &status) != 0)
    {
        return PVerdict::fail(std::generic_category().message(errno),
                              "pass the path of a plugin library");
    }
    if (!S_ISREG(status.st_mode))
    {
        return PVerdict::fail("is not a regular file", "pass the path of a plugin library");
    }
    std::ifstream in(file, std::ios::binary);
    if (!in)
    {
        return PVerdict::fail("cannot be read: " + std::generic_category().message(errno),
                              "make it readable");
    }
    Elf32_Ehdr header = {};
    in.read(reinterpret_cast<char*>(&header), sizeof header);
    return _judgeHeader(header);
}

PVerdict checkLoads(PTrial& ioTrial)
{
    ioTrial.phase("loading the library");
    if (!ioTrial.load())
    {
        return PVerdict::fail(ioTrial.loadError(), _loadAdvice(ioTrial.loadError()));
    }
    return PVerdict::pass("loads with its dependencies");
}

PVerdict checkFactory(PTrial& ioTrial)
{
    ioTrial.makePlugin();
    return PVerdict::pass("ixlaGetPlugin creates a plugin");
}

PVerdict checkCounts(PTrial& ioTrial)
{
    IPlugin* const plugin = ioTrial.makePlugin();
    ioTrial.phase("counting references");
    const int second = plugin->incRef();
    if (second != 2)
    {
        return _countIs("the second incRef of a new plugin", second, 2);
    }
    const int left = plugin->decRef();
    if (left != 1)
    {
        return _countIs("decRef after two incRef", left, 1);
    }
    ioTrial.phase("destroying the plugin with the last decRef");
    const int last = plugin->decRef();
    return last == 0 ? PVerdict::pass("counts from 0 and back")
                     : _countIs("the last decRef", last, 0);
}

PVerdict checkInterfaces(PTrial& ioTrial)
{
    IPlugin* const plugin = ioTrial.makePlugin();
    ioTrial.phase("listing the interfaces");
    const Listed first = _list(*plugin);
    if (!first.array && first.count == 0)
    {
        const PVerdict information = judgeInformation(ioTrial.options().plugin, {});
        return !information.passed
                   ? information
                   : PVerdict::pass(
                         "offers no interface; only an autostart list can initialise it");
    }
    PVerdict array = _judgeArray(first);
    if (!array.passed)
    {
        return array;
    }
    ioTrial.phase("reading the interface IDs");
    PVerdict ids = _judgeIds(first);
    if (!ids.passed)
    {
        return ids;
    }
    ioTrial.phase("listing the interfaces again");
    PVerdict repetition = _judgeRepetition(first, _list(*plugin));
    if (!repetition.passed)
    {
        return repetition;
    }
    ioTrial.phase("reading the plugin information");
    PVerdict information = judgeInformation(ioTrial.options().plugin, _idsOf(first));
    if (!information.passed)
    {
        return information;
    }
    ioTrial.phase("freeing the list of interfaces");
    delete[] first.array;
    return array;
}
