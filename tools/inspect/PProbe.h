// SPDX-License-Identifier: MIT
// PProbe: loads one plugin library as the core does, and writes down how far it got.
#ifndef IXLAL_TOOLS_PPROBE_H
#define IXLAL_TOOLS_PPROBE_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PLibrary.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

/// Each step is a line of JSON, written before the step is taken, so that the last line tells where
/// a process died. Later lines add to what earlier ones say:
///   stage       what is being done: "load", "create", "list", "release", "done"
///   built_in    IDs of the services that the core brings
///   load_ms     how long loading the library took
///   memory      bytes of private memory by which the process has grown; left out when unknown
///   interfaces  the IDs that the plugin offers
///   result      the result that the core would end its start with
///   reason      why, in words
class PProbe
{
public:
    /// Writes to iDescriptor, which stays the caller's.
    explicit PProbe(int iDescriptor);

    /// Goes through all steps with the library at iPath, or until one fails.
    void run(const char* iPath);

private:
    bool load(const char* iPath);
    bool create(void* iFactory);
    bool list();
    void write(const nlohmann::json& iLine) const;
    bool fail(int iResult, const std::string& iReason) const;

    template <class TStep>
    bool guard(int iResult, const char* iWhat, const TStep& iStep) const;

    const int fDescriptor;
    std::int64_t fMemoryBefore = -1;
    PPtr<PLibrary> fLibrary;
    PBaseptr<IPlugin> fPlugin; // goes before its library
};

#endif
