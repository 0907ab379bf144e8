// SPDX-License-Identifier: MIT
// ConfigTest: a configuration manager without a core, in a temporary directory.
#ifndef IXLAL_TESTS_CONFIGTEST_H
#define IXLAL_TESTS_CONFIGTEST_H

#include "config/PConfigManager.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class ConfigTest : public testing::Test
{
protected:
    /// Holds iManager, whose files are in the temporary directory.
    explicit ConfigTest(PConfigManager* iManager = new PConfigManager);
    ~ConfigTest() override;

    /// Writes the manager's configuration: the lines of iLines, and the store file "store.txt".
    void mapIDs(const std::string& iLines) const;

    /// Writes iLines to the only file of the ID and loads the ID.
    PBaseptr<IConfig> loadID(const std::string& iID, const std::string& iLines = "");

    PBaseptr<IConfig> byID(const std::string& iID) const;
    PBaseptr<IConfig> byFile(const std::string& iLines) const;
    PBaseptr<IConfig> byArgs(const std::vector<std::string>& iArgs) const;

    void set(const std::string& iID, const std::string& iKey, const std::string& iValue) const;
    void setAttr(const std::string& iID, const std::string& iKey, const std::string& iAttribute,
                 const std::string& iValue) const;
    void store(const std::string& iID, const std::string& iKey, const std::string& iValue) const;
    void storeAttr(const std::string& iID, const std::string& iKey, const std::string& iAttribute,
                   const std::string& iValue) const;

    /// The bytes of the store file.
    std::string storeText() const;

    TempDir dir;
    PBaseptr<IConfigManager> holder;
    PConfigManager& manager;
};

/// The result of a read: the text, or the result code in angle brackets.
std::string valueOf(const PBaseptr<IConfig>& iConfig, const std::string& iKey);
std::string attrOf(const PBaseptr<IConfig>& iConfig, const std::string& iKey,
                   const std::string& iAttribute);

std::vector<std::string> keysOf(const PBaseptr<IConfig>& iConfig);
std::vector<std::string> attributesOf(const PBaseptr<IConfig>& iConfig, const std::string& iKey);

/// The IDs that the manager lists.
std::vector<std::string> idsOf(PConfigManager& ioManager);

/// The run-time value of a key: the text, or the result code in angle brackets.
std::string dynamicOf(PConfigManager& ioManager, const std::string& iID, const std::string& iKey);

#endif
