// SPDX-License-Identifier: MIT
#include "PCodeOwner.h"

#include "PErrno.h"
#include "PUtf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <link.h>

namespace
{
struct Search
{
    std::uintptr_t address;
    PString& path;
    int result;
};

bool _contains(const dl_phdr_info& iObject, std::uintptr_t iAddress) noexcept
{
    const ElfW(Phdr)* const end = iObject.dlpi_phdr + iObject.dlpi_phnum;
    return std::any_of(iObject.dlpi_phdr, end,
                       [&](const ElfW(Phdr) & segment)
                       {
                           const std::uintptr_t begin = iObject.dlpi_addr + segment.p_vaddr;
                           return segment.p_type == PT_LOAD && iAddress >= begin &&
                                  iAddress - begin < segment.p_memsz;
                       });
}

int _take(dl_phdr_info* iObject, std::size_t, void* ioSearch) noexcept
{
    Search& search = *static_cast<Search*>(ioSearch);
    if (!_contains(*iObject, search.address))
    {
        return 0;
    }
    const char* const name = *iObject->dlpi_name ? iObject->dlpi_name : "(program)";
    wchar_t text[1024];
    const std::size_t size = std::min(std::strlen(name), sizeof text / sizeof *text);
    const std::size_t length = PUtf8::decodeLine(name, size, text);
    search.result = search.path.set(text, static_cast<unsigned int>(length));
    return 1;
}
} // namespace

// dladdr would take the lock that the loader holds while it runs constructors.
int PCodeOwner::getPath(PString& oPath) const noexcept
{
    Search search = {reinterpret_cast<std::uintptr_t>(fTable), oPath, PErrno::code(ENOENT)};
    dl_iterate_phdr(&_take, &search);
    return search.result;
}
