// SPDX-License-Identifier: MIT
// Shared constants of the small plugin and its hosts.
#ifndef IXLAL_BENCHMARKS_SMALLPLUGIN_H
#define IXLAL_BENCHMARKS_SMALLPLUGIN_H

/// The function that the plugin's init calls.
typedef void (*SmallPluginHook)();
/// The variable of the plugin's library with that function; null at first.
constexpr char kSmallPluginHook[] = "benchOnInit";

/// The plugin's interface ID. Copies of the library have other digits at the end.
constexpr wchar_t kSmallPluginId[] = L"com.kelvora.bench.small.00000";
/// The number of these digits.
constexpr int kSmallPluginDigits = 5;

#endif
