// SPDX-License-Identifier: MIT
#include "validate/PMemoryWatch.h"

#include "validate/MemcheckReport.h"
#include "validate/PElfSymbols.h"
#include "validate/PProgram.h"
#include "validate/PValidateError.h"
#include "validate/SanitizerReport.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace
{
constexpr int kOwnBits = 8 * sizeof(void*);
constexpr char kSanitizerSymbol[] = "__asan_init";

std::string _ownProgram()
{
    return fs::read_symlink("/proc/self/exe").string();
}

/// Leaks can be told from objects in use when the check has destroyed the plugin.
bool _showsLeaks(const std::string& iCheck)
{
    return iCheck == "counts" || iCheck == "stop";
}

/// The value of a variable with a colon at its end; empty without it.
std::string _valueOf(const char* iName)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there yet
    const char* const value = std::getenv(iName);
    return value && *value ? std::string(value) + ":" : "";
}

/// The path without links; as it is if it cannot be resolved.
std::string _resolved(const std::string& iPath)
{
    std::error_code failure;
    const fs::path path = fs::canonical(iPath, failure);
    return failure ? iPath : path.string();
}

/// The runtime that the library was linked with. Clang links none, so it is asked.
std::string _runtimeOf(const PElfSymbols& iSymbols)
{
    for (const std::string& library : iSymbols.libraries())
    {
        if (library.starts_with("libasan.so") || library.starts_with("libclang_rt.asan"))
        {
            return library;
        }
    }
    const std::string name =
        kOwnBits == 32 ? "libclang_rt.asan-i386.so" : "libclang_rt.asan-x86_64.so";
    const PProgram asking({"clang", "-m" + std::to_string(kOwnBits), "-print-file-name=" + name});
    const std::string path = asking.output().substr(0, asking.output().find('\n'));
    return asking.done() && path.starts_with('/') ? path : name;
}
} // namespace

PMemoryWatch::PMemoryWatch(const PValidateOptions& iOptions) : fPlugin(_resolved(iOptions.plugin))
{
    const PElfSymbols symbols = PElfSymbols::ofFile(fPlugin);
    if (symbols.needs(kSanitizerSymbol))
    {
        fKind = eSanitizer;
        useSanitizer(::dlsym(RTLD_DEFAULT, kSanitizerSymbol) ? "" : _runtimeOf(symbols));
    }
    else if (iOptions.valgrind)
    {
        fKind = eValgrind;
    }
}

void PMemoryWatch::expectValgrind()
{
    const PProgram trying({"valgrind", "-q", "--vgdb=no", _ownProgram(), "--version"});
    if (trying.done())
    {
        return;
    }
    if (trying.output().find("mandatory") == std::string::npos)
    {
        throw PValidateError(eExitProgram, "cannot run valgrind: " + trying.problem() +
                                               "; the package valgrind has it");
    }
    throw PValidateError(
        eExitProgram, "valgrind cannot run " + std::to_string(kOwnBits) +
                          "-bit programs here, because it needs the symbols of their C library: " +
                          (kOwnBits == 32 ? "dpkg --add-architecture i386, apt-get update, "
                                            "apt-get install libc6-dbg:i386"
                                          : "apt-get install libc6-dbg"));
}

PLaunch PMemoryWatch::launchOf(const std::string& iCheck) const
{
    switch (fKind)
    {
    case eValgrind:
        return underValgrind();
    case eSanitizer:
        return underSanitizer(iCheck);
    default:
        return {};
    }
}

void PMemoryWatch::collect(const std::string& iCheck, const std::string& iOutput)
{
    if (fKind == eSanitizer)
    {
        add(sanitizerFindings(iOutput, fPlugin), iCheck);
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(fReports.path()))
    {
        std::ostringstream text;
        text << std::ifstream(entry.path()).rdbuf();
        add(fKind == eValgrind ? memcheckFindings(text.str(), fPlugin, _showsLeaks(iCheck))
                               : sanitizerFindings(text.str(), fPlugin),
            iCheck);
        std::error_code ignored; // the directory is removed later
        fs::remove(entry.path(), ignored);
    }
}

void PMemoryWatch::add(const std::vector<PMemoryFinding>& iFindings, const std::string& iCheck)
{
    for (const PMemoryFinding& finding : iFindings)
    {
        PSeen& seen = fSeen[finding.text];
        if (seen.checks.empty())
        {
            fOrder.push_back(finding.text);
            seen.finding = finding;
        }
        if (!seen.checks.ends_with(iCheck))
        {
            seen.checks += (seen.checks.empty() ? "" : ", ") + iCheck;
        }
    }
}

std::vector<PCheckResult> PMemoryWatch::results() const
{
    const std::string tool = fKind == eValgrind ? "valgrind" : "the address sanitizer";
    if (fKind == eNothing)
    {
        return {};
    }
    if (!fMissing.empty())
    {
        return {{"memory", PCheckResult::eFail,
                 "was built with the address sanitizer, and " + fMissing + " is not found",
                 "install it, or name its directory in LD_LIBRARY_PATH", 0, "", 0}};
    }
    std::vector<PCheckResult> results;
    for (const std::string& text : fOrder)
    {
        const PSeen& seen = fSeen.at(text);
        std::string reason = text;
        reason.append("\nfound by ").append(tool).append(" in: ").append(seen.checks);
        results.push_back(
            {"memory", PCheckResult::eFail, reason, "", 0, seen.finding.source, seen.finding.line});
    }
    if (results.empty())
    {
        results.push_back({"memory", PCheckResult::ePass, "no errors under " + tool, "", 0, "", 0});
    }
    return results;
}

// A program that does not find a library of LD_PRELOAD says so and runs without it.
void PMemoryWatch::useSanitizer(const std::string& iRuntime)
{
    fPreload = iRuntime;
    if (iRuntime.empty())
    {
        return;
    }
    const PProgram trying({"env", "LD_PRELOAD=" + iRuntime, _ownProgram(), "--version"});
    if (!trying.done() || trying.output().find("cannot be preloaded") != std::string::npos)
    {
        fMissing = iRuntime;
    }
}

PLaunch PMemoryWatch::underValgrind() const
{
    return {{"valgrind", "-q", "--tool=memcheck", "--vgdb=no", "--num-callers=40", "--xml=yes",
             "--xml-file=" + fReports.path().string() + "/%p", "--child-silent-after-fork=yes",
             "--show-leak-kinds=definite", _ownProgram()},
            {}};
}

PLaunch PMemoryWatch::underSanitizer(const std::string& iCheck) const
{
    if (!fMissing.empty())
    {
        return {};
    }
    PLaunch launch = {{_ownProgram()}, {}};
    launch.environment["ASAN_OPTIONS"] =
        _valueOf("ASAN_OPTIONS") + "log_path='" + fReports.path().string() +
        "/report':exitcode=86:stack_trace_format='" + kSanitizerFrames +
        "':detect_leaks=" + (_showsLeaks(iCheck) ? "1" : "0");
    if (!fPreload.empty())
    {
        launch.environment["LD_PRELOAD"] = _valueOf("LD_PRELOAD") + fPreload;
    }
    return launch;
}
