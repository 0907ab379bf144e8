// SPDX-License-Identifier: MIT
// A plugin that does what ODD in the environment says, and offers the IDs that ODD_IDS lists,
// separated by commas.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/PluginService.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
bool _is(const char* iBehaviour)
{
    const char* const wanted = std::getenv("ODD");
    return wanted && std::string(wanted) == iBehaviour;
}

void _act(const std::string& iPlace)
{
    if (_is(("abort in " + iPlace).c_str()))
    {
        std::abort();
    }
    if (_is(("exit in " + iPlace).c_str()))
    {
        _exit(0);
    }
    if (_is(("exit with 3 in " + iPlace).c_str()))
    {
        _exit(3);
    }
    if (_is(("throw in " + iPlace).c_str()))
    {
        throw std::runtime_error("a stone");
    }
    if (_is(("hang in " + iPlace).c_str()))
    {
        for (;;)
        {
            std::this_thread::sleep_for(std::chrono::seconds(1));
        }
    }
}

struct Constructed
{
    Constructed()
    {
        _act("constructor");
        if (_is("chatter"))
        {
            std::cout << std::string(200000, 'x') << std::endl;
        }
        if (_is("child") && fork() == 0)
        {
            sleep(600);
            _exit(0);
        }
    }
};

const Constructed sConstructed;

std::vector<PString> _ids()
{
    const char* const list = std::getenv("ODD_IDS");
    std::istringstream texts(list ? list : "");
    std::vector<PString> ids;
    for (std::string id; std::getline(texts, id, ',');)
    {
        ids.emplace_back(std::wstring(id.begin(), id.end()).c_str());
    }
    return ids;
}

class OddPlugin final : public PluginService
{
public:
    using PluginService::PluginService;

    ~OddPlugin() override
    {
        _act("destructor");
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        _act("getInterfaces");
        return PluginService::getInterfaces(oCount);
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    _act("factory");
    return _is("null factory") ? nullptr : new OddPlugin(_ids());
}
