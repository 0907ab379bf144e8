// SPDX-License-Identifier: MIT
#include "soak/ReadWorker.h"

#include "support/CoreRun.h"
#include "support/Texts.h"

#include <algorithm>
#include <memory>
#include <vector>

void ReadWorker::prepare(CoreRun& ioCore)
{
    fFile = ioCore.dir.wideFile("config/first.prs").ptr();
}

void ReadWorker::begin()
{
    expect("load by ID", 0, fManager->loadByID(kId, fConfig));
}

void ReadWorker::step()
{
    switch (pick(12))
    {
    case 0:
        return load();
    case 1:
        return loadArguments();
    case 2:
        return listIds();
    case 3:
    case 4:
        return readPinned();
    case 5:
    case 6:
        return readTyped();
    default:
        return readFree();
    }
}

void ReadWorker::end()
{
    fConfig.clear();
}

void ReadWorker::load()
{
    PBaseptr<IConfig> config;
    expect("load by file", 0, fManager->loadByFile(fFile.c_str(), config));
    PString text;
    expect("read", 0, config->getString(kFreeKey, text));
    check("value without ID", text == PLiteral(kFileText), narrow(text));
    begin();
    std::vector<PString> keys;
    expect("list keys", 0, fConfig->getKeys(keys));
    check("keys", keys.size() == 4, std::to_string(keys.size()) + " keys");
}

void ReadWorker::loadArguments()
{
    const std::vector<PString> arguments{PString(L"key = one"), PString(L"key:unit = s"),
                                         PString(L"key = two"), PString(L"key:unit = ms")};
    PBaseptr<IConfig> config;
    expect("load by arguments", 0, fManager->loadByArgs(arguments, config));
    PString text;
    expect("read", 0, config->getString(L"key", text));
    check("last value", text == PLiteral(L"two"), narrow(text));
    expect("read", 0, config->getAttrString(L"key", L"unit", text));
    check("first attribute", text == PLiteral(L"s"), narrow(text));
    expect("load a bad line", -3001, fManager->appendByArgs({PString(L"nothing")}, config));
}

void ReadWorker::readPinned()
{
    PString text;
    expect("read", 0, fConfig->getString(L"pinned", text));
    check("pinned value", text == PLiteral(L"here"), narrow(text));
    expect("read a forbidden key", -3004, fConfig->getString(L"a|b", text));
    expect("read a missing key", -504, fConfig->getString(L"missing", text));
}

void ReadWorker::readFree()
{
    PString text;
    expect("read", 0, fConfig->getString(kFreeKey, text));
    const bool known = text == PLiteral(kFileText) || text.startsWith(kRunTimeText);
    check("run-time or own value", known, narrow(text));
}

void ReadWorker::readTyped()
{
    int number = 0;
    expect("read", 0, fConfig->getInt32(L"number", number));
    check("number", number == -80, std::to_string(number));
    unsigned char* data = nullptr;
    unsigned int size = 0;
    expect("read", 0, fConfig->getBinary(L"bytes", data, size));
    const std::unique_ptr<unsigned char[]> owned(data);
    check("bytes", size == 3 && data[0] == 1 && data[2] == 255, std::to_string(size) + " bytes");
    expect("read no number", -22, fConfig->getInt32(L"pinned", number));
}

void ReadWorker::listIds()
{
    std::vector<PString> ids;
    expect("list IDs", 0, fManager->listIDs(ids));
    check("IDs", std::count(ids.begin(), ids.end(), PLiteral(kId)) == 1, "not listed once");
}
