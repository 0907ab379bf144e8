// SPDX-License-Identifier: MIT
// ConfigTool: runs ixla-config on a directory of its own.
#ifndef IXLAL_TESTS_CONFIGTOOL_H
#define IXLAL_TESTS_CONFIGTOOL_H

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// The directory holds config/ with a manager's file for com.example.net (net.prs and
/// net.local.prs) and a store store.txt. The tool runs in the directory, so that it shows the short
/// paths.
class ConfigTool : public ::testing::Test
{
protected:
    ConfigTool();

    void write(const std::string& iName, const std::string& iText) const;
    std::string read(const std::string& iName) const;
    bool exists(const std::string& iName) const;

    /// Runs the tool with these arguments and returns its exit code; what it prints is in out and
    /// err.
    int run(const std::vector<std::string>& iArguments);

    /// The same behind "--dir config".
    int ask(std::vector<std::string> iArguments);

    /// What ask printed, as JSON.
    nlohmann::json json() const;

    TempDir dir;
    std::string out;
    std::string err;
};

#endif
