// SPDX-License-Identifier: MIT
// Shared constants of the small plugin and its hosts.
#ifndef IXLAL_BENCHMARKS_SMALLPLUGIN_H
#define IXLAL_BENCHMARKS_SMALLPLUGIN_H

/// The type of a variable in the plugin's library: the function that init calls; null at first.
typedef void (*SmallPluginHook)();
constexpr char kSmallPluginHook[] = "benchOnInit";

/// The plugin's interface ID. Copies of the library have other digits.
constexpr wchar_t kSmallPluginId[] = L"com.kelvora.bench.small.00000";
constexpr int kSmallPluginDigits = 5;

#endif
