// SPDX-License-Identifier: MIT
// FakeConfig: a fake of the core and its configuration manager.
#ifndef IXLAL_TESTS_FAKECONFIG_H
#define IXLAL_TESTS_FAKECONFIG_H

#include "IConfigManager.h"
#include "Ixla.h"

#include <map>
#include <string>

/// The binary that links this defines ixlaGetInstance itself. There is one configuration manager
/// with one configuration: kIxlaGlobalConfigId with the given values.
struct FakeConfig
{
    static std::map<std::string, std::string> values;

    /// Makes all operations succeed, with these values.
    static void reset(const std::map<std::string, std::string>& iValues);

    /// The results of the operations; the manager and the configuration are returned with 0.
    static int instanceResult;
    static int loadResult;

    /// If set, ixlaGetInstance returns 0 with a null pointer.
    static bool noInstance;

    /// The number of references to the manager and to the configuration.
    static int references();
};

#endif
