// SPDX-License-Identifier: MIT
// A plugin that does what ODD in the environment says, and offers the IDs that ODD_IDS lists,
// separated by commas.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/Counted.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
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
            sleep(60);
            _exit(0);
        }
    }
};

const Constructed sConstructed;

std::vector<std::string> _ids()
{
    const char* const list = std::getenv("ODD_IDS");
    std::istringstream texts(list ? list : "");
    std::vector<std::string> ids;
    for (std::string id; std::getline(texts, id, ',');)
    {
        ids.push_back(id);
    }
    return ids;
}

class OddPlugin final : public Counted<IPlugin>
{
public:
    ~OddPlugin() override
    {
        _act("destructor");
    }

    int init() override
    {
        return eIxlaOk;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        _act("getInterfaces");
        const std::vector<std::string> texts = _ids();
        std::unique_ptr<PString[]> ids(new PString[texts.size()]);
        for (std::size_t i = 0; i < texts.size(); ++i)
        {
            ids[i] = std::wstring(texts[i].begin(), texts[i].end()).c_str();
        }
        oCount = static_cast<unsigned int>(texts.size());
        return ids.release();
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = this;
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    _act("factory");
    return _is("null factory") ? nullptr : new OddPlugin;
}
