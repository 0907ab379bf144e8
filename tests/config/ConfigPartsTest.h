// SPDX-License-Identifier: MIT
// ConfigPartsTest: the parts of a configuration manager without the manager around them.
#ifndef IXLAL_TESTS_CONFIGPARTSTEST_H
#define IXLAL_TESTS_CONFIGPARTSTEST_H

#include "config/ConfigTest.h"
#include "config/PConfigFiles.h"
#include "config/PConfigLog.h"
#include "config/PConfigRecords.h"
#include "config/PConfigStore.h"
#include "core/PReaderLock.h"
#include "config/PRunTimeValues.h"
#include "support/Texts.h"

#include <atomic>

/// The manager of the base class only reads files for them.
class ConfigPartsTest : public ConfigTest
{
protected:
    ConfigPartsTest()
    {
        setGlobal(L"core.plugins.config.dir", wide(dir.path().string()));
    }

    void setGlobal(const PLiteral& iKey, const PLiteral& iValue)
    {
        PConfigValues* table = nullptr;
        ASSERT_EQ(values.nl_findDynamicCfgValues(L"ixlap.global", true, table), 0);
        PConfigRecords::_addNewValue(*table, iKey, iValue);
    }

    PRunTimeValues values;
    PConfigLog log;
    std::atomic<bool> closed{false};
    PConfigFiles files{manager, values, log};
    PReaderLock readers;
    PConfigStore stored{manager, files, log, readers, closed};
};

#endif
