// SPDX-License-Identifier: MIT
// Shared constants of the plugin with many interfaces and its host.
#ifndef IXLAL_BENCHMARKS_INTERFACESPLUGIN_H
#define IXLAL_BENCHMARKS_INTERFACESPLUGIN_H

#include <string>

/// The environment variable with the number of interface IDs.
constexpr char kInterfacesVariable[] = "IXLAL_BENCH_INTERFACES";

inline std::wstring benchInterfaceId(int iNumber)
{
    std::wstring digits = std::to_wstring(iNumber);
    digits.insert(0, 5 - digits.size(), L'0');
    return L"com.kelvora.bench." + digits;
}

#endif
