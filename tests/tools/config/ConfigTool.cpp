// SPDX-License-Identifier: MIT
#include "ConfigTool.h"

#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>

namespace
{
std::string _quoted(const std::string& iArgument)
{
    std::string quoted = "'";
    for (const char byte : iArgument)
    {
        quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    }
    return quoted + "' ";
}
} // namespace

ConfigTool::ConfigTool()
{
    write("config/ixlap.configmanager.prs", "com.example.net = net.prs, net.local.prs\n"
                                            "ixlap.configmanager.store.file = store.txt\n");
    write("config/net.prs", "port = 80\n");
    write("config/net.local.prs", "");
}

void ConfigTool::write(const std::string& iName, const std::string& iText) const
{
    dir.write(iName, iText);
}

std::string ConfigTool::read(const std::string& iName) const
{
    return dir.read(iName);
}

bool ConfigTool::exists(const std::string& iName) const
{
    return std::filesystem::exists(dir.file(iName));
}

int ConfigTool::run(const std::vector<std::string>& iArguments)
{
    std::string command = "cd " + _quoted(dir.path()) + "&& exec " + _quoted(IXLAL_TOOL);
    for (const std::string& argument : iArguments)
    {
        command += _quoted(argument);
    }
    const int status = std::system((command + ">out 2>err </dev/null").c_str());
    out = read("out");
    err = read("err");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int ConfigTool::ask(std::vector<std::string> iArguments)
{
    iArguments.insert(iArguments.begin(), {"--dir", "config"});
    return run(iArguments);
}

nlohmann::json ConfigTool::json() const
{
    return nlohmann::json::parse(out, nullptr, false);
}
