// SPDX-License-Identifier: MIT
#include "inspect/PProbe.h"

#include "Ixla.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "portinglayer/PUtf8.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

namespace
{
typedef IPlugin* Factory();
typedef std::chrono::duration<double, std::milli> Milliseconds;

constexpr char kFactorySymbol[] = "_Z13ixlaGetPluginv";

PString _path(const char* iPath)
{
    std::vector<wchar_t> characters(std::strlen(iPath) + 1);
    const std::size_t count = PUtf8::decodePath(iPath, std::strlen(iPath), characters.data());
    return PString(characters.data(), static_cast<unsigned int>(count));
}

/// The private dirty memory of this process in bytes; -1 when unknown. Clean pages are not counted,
/// because the system may drop or share them at any time.
std::int64_t _privateMemory()
{
    std::ifstream figures("/proc/self/smaps_rollup");
    std::string word;
    while (figures >> word)
    {
        std::int64_t kibibytes = 0;
        if (word == "Private_Dirty:" && figures >> kibibytes)
        {
            return kibibytes * 1024;
        }
    }
    return -1;
}
} // namespace

PProbe::PProbe(int iDescriptor) : fOutput(iDescriptor)
{
}

void PProbe::run(const char* iPath)
{
    write({{"stage", "load"}});
    fMemoryBefore = _privateMemory();
    if (!load(iPath))
    {
        return;
    }
    // A library without a factory is no failure: the core skips it.
    void* const factory = fLibrary->getFunction(kFactorySymbol);
    if (!factory || (create(factory) && list()))
    {
        write({{"stage", "release"}});
        fPlugin.clear();
        fLibrary.clear();
        write({{"stage", "done"}});
    }
}

bool PProbe::load(const char* iPath)
{
    const PString path = _path(iPath);
    PLibrary* loaded = nullptr;
    const auto began = std::chrono::steady_clock::now();
    const int result = PLibrary::load(path, loaded, true);
    const Milliseconds took = std::chrono::steady_clock::now() - began;
    if (result != 0)
    {
        PString reason;
        PLibrary::getLoadError(reason); // fails for lack of memory only; the reason is empty then
        return fail(result, ixlaNarrow(reason));
    }
    fLibrary = PPtr<PLibrary>::adopt(loaded);
    write({{"stage", "create"}, {"load_ms", took.count()}});
    return true;
}

bool PProbe::create(void* iFactory)
{
    const auto make = [&]
    {
        fPlugin = PBaseptr<IPlugin>::adopt(reinterpret_cast<Factory*>(iFactory)());
    };
    if (!guard(eIxlaNullPlugin, "the factory", make))
    {
        return false;
    }
    return fPlugin || fail(eIxlaNullPlugin, "the factory returned null");
}

bool PProbe::list()
{
    write({{"stage", "list"}});
    PPtr<PString> ids;
    unsigned int count = 0;
    if (!guard(eIxlaInitFailed, "getInterfaces",
               [&] { ids = PPtr<PString>::adopt(fPlugin->getInterfaces(count), ePtrArray); }))
    {
        return false;
    }
    nlohmann::json line{{"interfaces", nlohmann::json::array()}};
    for (unsigned int i = 0; ids && i < count; ++i)
    {
        line["interfaces"].push_back(ixlaNarrow(ids.get()[i]));
    }
    const std::int64_t memory = _privateMemory();
    if (fMemoryBefore >= 0 && memory >= 0)
    {
        line["memory"] = memory - fMemoryBefore;
    }
    write(line);
    return true;
}

void PProbe::write(const nlohmann::json& iLine) const
{
    // A reader that misses the line reports that the probe died before it.
    static_cast<void>(fOutput.writeAll(
        iLine.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + '\n'));
}

bool PProbe::fail(int iResult, const std::string& iReason) const
{
    write({{"result", ixlaResultText(iResult)}, {"reason", iReason}});
    return false;
}

template <class TStep>
bool PProbe::guard(int iResult, const char* iWhat, const TStep& iStep) const
{
    try
    {
        iStep();
        return true;
    }
    catch (const std::exception& problem)
    {
        return fail(iResult, std::string(iWhat) + " threw " + problem.what());
    }
    catch (...)
    {
        return fail(iResult, std::string(iWhat) + " threw an exception");
    }
}
