// SPDX-License-Identifier: MIT
// ConfigTool: runs ixla-config on a directory of the test.
#ifndef IXLAL_TESTS_CONFIGTOOL_H
#define IXLAL_TESTS_CONFIGTOOL_H

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// The directory has config/ with a manager's file for com.example.net (net.prs and net.local.prs)
/// and a store store.txt. The tool runs in the directory, so that it prints short paths.
class ConfigTool : public ::testing::Test
{
protected:
    ConfigTool();

    void write(const std::string& iName, const std::string& iText) const;
    std::string read(const std::string& iName) const;
    bool exists(const std::string& iName) const;

    /// Runs the tool with these arguments and returns its exit code; out and err have its output.
    int run(const std::vector<std::string>& iArguments);

    /// The same with "--dir config" before the arguments.
    int ask(std::vector<std::string> iArguments);

    /// The output of ask, as JSON.
    nlohmann::json json() const;

    TempDir dir;
    std::string out;
    std::string err;
};

#endif
