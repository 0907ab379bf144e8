// SPDX-License-Identifier: MIT
// FakeConfig: stands in for the core and its configuration manager.
#ifndef IXLAL_TESTS_FAKECONFIG_H
#define IXLAL_TESTS_FAKECONFIG_H

#include "IConfigManager.h"
#include "Ixla.h"

#include <map>
#include <string>

/// The binary that links this defines ixlaGetInstance itself. One configuration manager is there,
/// which knows one configuration: kIxlaGlobalConfigId with the given values.
struct FakeConfig
{
    static std::map<std::string, std::string> values;

    /// Everything works, with these values.
    static void reset(const std::map<std::string, std::string>& iValues);

    /// What the operations return; the manager and the configuration are handed out on 0.
    static int instanceResult;
    static int loadResult;

    /// When set, ixlaGetInstance succeeds without an instance.
    static bool noInstance;

    /// References to the manager and to the configuration that are still held.
    static int references();
};

#endif
