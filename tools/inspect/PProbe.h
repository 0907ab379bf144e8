// SPDX-License-Identifier: MIT
// PProbe: loads one plugin library as the core does, and reports its progress.
#ifndef IXLAL_TOOLS_PPROBE_H
#define IXLAL_TOOLS_PPROBE_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PLibrary.h"
#include "shared/PFileDescriptor.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

/// Writes a line of JSON before each step, so that the last line shows where the process died.
/// Later lines add to earlier ones:
///   stage       the step: "load", "create", "list", "release", "done"
///   load_ms     time for loading the library
///   memory      growth of the private memory in bytes; omitted when unknown
///   interfaces  the IDs that the plugin offers
///   result      the result with which the core's start would fail
///   reason      the reason as text
class PProbe
{
public:
    /// Writes to iDescriptor, and closes it in the end.
    explicit PProbe(int iDescriptor);

    /// Runs all steps with the library at iPath, until one fails.
    void run(const char* iPath);

private:
    bool load(const char* iPath);
    bool create(void* iFactory);
    bool list();
    void write(const nlohmann::json& iLine) const;
    bool fail(int iResult, const std::string& iReason) const;

    template <class TStep>
    bool guard(int iResult, const char* iWhat, const TStep& iStep) const;

    const PFileDescriptor fOutput;
    std::int64_t fMemoryBefore = -1;
    PPtr<PLibrary> fLibrary;
    PBaseptr<IPlugin> fPlugin; // last: destroyed before its library
};

#endif
