// SPDX-License-Identifier: MIT
// SoakPlugins: the plugins of the soak and the steps that they report.
#ifndef IXLAL_TESTS_SOAKPLUGINS_H
#define IXLAL_TESTS_SOAKPLUGINS_H

#include <atomic>

/// One plugin stays while the core runs; the others are unloaded.
constexpr wchar_t kSoakStayId[] = L"soak.stay";
constexpr wchar_t kSoakStaySecondId[] = L"soak.stay.second";
constexpr const wchar_t* kSoakLeavingIds[] = {L"soak.go.one", L"soak.go.two", L"soak.go.three"};
constexpr const char* kSoakPlugins[] = {"soak_stay", "soak_one", "soak_two", "soak_three"};

/// The number of reports of a step by all plugins. The counters are relaxed, so that they do not
/// synchronise the threads.
struct SoakSteps
{
    static std::atomic<unsigned int> inits;
    static std::atomic<unsigned int> made;
    static std::atomic<unsigned int> destroyed;
    static std::atomic<unsigned int> unmapped;
    static std::atomic<unsigned int> events;
};

#endif
