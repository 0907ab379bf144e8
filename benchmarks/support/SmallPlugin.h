// SPDX-License-Identifier: MIT
// What the small plugin and its hosts agree on.
#ifndef IXLAL_BENCHMARKS_SMALLPLUGIN_H
#define IXLAL_BENCHMARKS_SMALLPLUGIN_H

/// The variable of the plugin's library with what its init calls; null at first.
typedef void (*SmallPluginHook)();
constexpr char kSmallPluginHook[] = "benchOnInit";

/// The plugin's one interface ID. Copies of the library have other digits in their place.
constexpr wchar_t kSmallPluginId[] = L"com.kelvora.bench.small.00000";
constexpr int kSmallPluginDigits = 5;

#endif
