// SPDX-License-Identifier: MIT
// A C++11 host for plugins of any version. Arguments: key=value for the core, and actions, which
// run in this order and print what they find:
//   check:ID   calls every operation of the services in the plugin ID, a CompilerPlugin
//   unload:ID  unloads it
//   greet      uses the service of KeptGreeter, its event and a changed value
//   write      stores values of the configuration kept.values
//   read       reads all values of kept.values

#include "ICompilerCheck.h"
#include "IConfig.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "IKeptGreeter.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "helpers/PCounted.h"
#include "portinglayer/PString.h"
#include "portinglayer/PUtf8.h"

#include <link.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

/// The plugins report their steps.
extern "C" __attribute__((visibility("default"))) int ixlalTestStep(const char* iStep)
{
    std::printf("step: %s\n", iStep);
    return 0;
}

namespace
{
const wchar_t* const kValuesId = L"kept.values";

PString _wide(const std::string& iText)
{
    std::vector<wchar_t> characters(iText.size() + 1);
    const std::size_t count = PUtf8::decodeLine(iText.data(), iText.size(), characters.data());
    return PString(characters.data(), static_cast<unsigned int>(count));
}

std::string _narrow(const PLiteral& iText)
{
    std::vector<char> bytes(static_cast<std::size_t>(iText.len()) * PUtf8::eMaxBytes + 1);
    return std::string(bytes.data(), PUtf8::encodeLine(iText.ptr(), iText.len(), bytes.data()));
}

template <class T>
PBaseptr<T> _service(const wchar_t* iId)
{
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(iId, instance);
    if (result != eIxlaOk)
    {
        std::printf("%s: %d\n", _narrow(iId).c_str(), result);
    }
    return PBaseptr<T>(result == eIxlaOk ? static_cast<T*>(instance) : nullptr);
}

class Listener : public PCounted<IEventListener>
{
public:
    int handleEvent(const PLiteral& iTopic, IBase*, int iParam2) override
    {
        std::printf("event: %s %d\n", _narrow(iTopic).c_str(), iParam2);
        return 0;
    }
};

void _check(const std::string& iId)
{
    const PString id = _wide(iId);
    const PBaseptr<ICompilerCheck> check = _service<ICompilerCheck>(id.ptr());
    if (check)
    {
        PString failures;
        const int count = check->check(_wide(iId + ".id"), L"config/checked.prs", failures);
        std::printf("%s: %d checks\n%s", iId.c_str(), count, _narrow(failures).c_str());
    }
}

void _unload(const std::string& iId)
{
    const PString id = _wide(iId);
    // Borrowed: a holder would outlive the library.
    IBase* instance = nullptr;
    int result = ixlaGetInstance(id, instance);
    if (result == eIxlaOk)
    {
        result = ixlaUnloadPlugin(static_cast<ICompilerCheck*>(instance)->getPlugin());
    }
    std::printf("unload %s: %d, available: %d\n", iId.c_str(), result,
                ixlaIsInterfaceAvailable(id) ? 1 : 0);
}

void _greet()
{
    const PBaseptr<IEventDispatcher> dispatcher =
        _service<IEventDispatcher>(kIxlaEventDispatcherId);
    const PBaseptr<IConfigManager> manager = _service<IConfigManager>(kIxlaConfigManagerId);
    const PBaseptr<IKeptGreeter> greeter = _service<IKeptGreeter>(kKeptGreeterId);
    const PBaseptr<IEventListener> listener(new Listener);
    if (!dispatcher || !manager || !greeter)
    {
        return;
    }
    std::printf("listener: %d\n", dispatcher->addListener(kKeptTopic, listener.get()));
    PString text;
    int result = greeter->greet(text);
    std::printf("greet: %d %s\n", result, _narrow(text).c_str());
    std::printf("set: %d\n", manager->setInt32(kKeptGreeterId, L"size", 9));
    result = greeter->greet(text);
    std::printf("greet: %d %s\n", result, _narrow(text).c_str());
    std::printf("listener: %d\n", dispatcher->removeListener(kKeptTopic, listener.get()));
}

void _write()
{
    const PBaseptr<IConfigManager> manager = _service<IConfigManager>(kIxlaConfigManagerId);
    const unsigned char bytes[] = {0, 255, 16};
    const PLiteral id(kValuesId);
    if (!manager)
    {
        return;
    }
    const int results[] = {
        manager->storeString(id, L"stored.text", _wide("three words, \xc3\xa4\xe2\x82\xac = ; |")),
        manager->storeInt32(id, L"stored.int32", -2147483647 - 1),
        manager->storeUint32(id, L"stored.uint32", 4294967295U),
        manager->storeInt64(id, L"stored.int64", -9223372036854775807LL - 1),
        manager->storeUint64(id, L"stored.uint64", 18446744073709551615ULL),
        manager->storeBool(id, L"stored.bool", true),
        manager->storeBinary(id, L"stored.binary", bytes, 3),
        manager->storeAttrString(id, L"stored.text", L"unit", L"words"),
        manager->storeInt32(id, L"both", 2)};
    for (const int result : results)
    {
        std::printf("stored: %d\n", result);
    }
}

/// Reads a value in each type, because a text may be read as a number.
void _readTyped(const PBaseptr<IConfig>& iConfig, const PString& iKey)
{
    int int32 = 0;
    unsigned int uint32 = 0;
    long long int64 = 0;
    unsigned long long uint64 = 0;
    bool truth = false;
    unsigned char* data = nullptr;
    unsigned int size = 0;
    int result = iConfig->getInt32(iKey, int32);
    std::printf("  int32 %d %d", result, int32);
    result = iConfig->getUint32(iKey, uint32);
    std::printf(", uint32 %d %u", result, uint32);
    result = iConfig->getInt64(iKey, int64);
    std::printf(", int64 %d %lld", result, int64);
    result = iConfig->getUint64(iKey, uint64);
    std::printf(", uint64 %d %llu", result, uint64);
    result = iConfig->getBool(iKey, truth);
    std::printf(", bool %d %d", result, truth ? 1 : 0);
    result = iConfig->getBinary(iKey, data, size);
    const PPtr<unsigned char> owner(data, ePtrArray);
    std::printf(", binary %d", result);
    for (unsigned int i = 0; i < size; ++i)
    {
        std::printf(" %02x", data[i]);
    }
    std::printf("\n");
}

void _readAttributes(const PBaseptr<IConfig>& iConfig, const PString& iKey)
{
    std::vector<PString> names;
    (void)iConfig->getAttributes(iKey, names); // a key without attributes is no error
    const PString stored(L"unit");             // of write, which getAttributes does not list
    if (std::find(names.begin(), names.end(), stored) == names.end())
    {
        names.push_back(stored);
    }
    std::vector<std::string> lines;
    for (const PString& name : names)
    {
        PString value;
        const int result = iConfig->getAttrString(iKey, name, value);
        lines.push_back(_narrow(name) + " " + std::to_string(result) + " " + _narrow(value));
    }
    std::sort(lines.begin(), lines.end());
    for (const std::string& line : lines)
    {
        std::printf("  attribute %s\n", line.c_str());
    }
}

/// The keys of the files and those of write; getKeys lists only the former.
void _read()
{
    const PBaseptr<IConfigManager> manager = _service<IConfigManager>(kIxlaConfigManagerId);
    PBaseptr<IConfig> config;
    if (!manager || manager->loadByID(kValuesId, config) != eIxlaOk)
    {
        std::printf("no values\n");
        return;
    }
    std::vector<PString> listed;
    std::printf("keys: %d\n", config->getKeys(listed));
    std::vector<std::string> keys = {"stored.text",  "stored.int32",  "stored.uint32",
                                     "stored.int64", "stored.uint64", "stored.bool",
                                     "stored.binary"};
    for (const PString& key : listed)
    {
        keys.push_back(_narrow(key));
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (const std::string& key : keys)
    {
        PString value;
        const int result = config->getString(_wide(key), value);
        std::printf("%s: %d %s\n", key.c_str(), result, _narrow(value).c_str());
        _readTyped(config, _wide(key));
        _readAttributes(config, _wide(key));
    }
}

int _printLibrary(dl_phdr_info* iInfo, std::size_t, void*)
{
    if (std::string(iInfo->dlpi_name).find("libixlal.") != std::string::npos)
    {
        std::printf("library: %s\n", iInfo->dlpi_name);
    }
    return 0;
}

void _act(const std::string& iAction)
{
    const std::size_t colon = iAction.find(':');
    const std::string verb = iAction.substr(0, colon);
    const std::string id = colon == std::string::npos ? "" : iAction.substr(colon + 1);
    if (verb == "check")
    {
        _check(id);
    }
    else if (verb == "unload")
    {
        _unload(id);
    }
    else if (verb == "greet")
    {
        _greet();
    }
    else if (verb == "write")
    {
        _write();
    }
    else if (verb == "read")
    {
        _read();
    }
    else
    {
        std::printf("unknown action: %s\n", iAction.c_str());
    }
}
} // namespace

int main(int iCount, char** iArguments)
{
    // The core writes to the standard output, too.
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 4096);
    std::vector<PString> arguments;
    std::vector<std::string> actions;
    for (int i = 1; i < iCount; ++i)
    {
        const std::string argument = iArguments[i];
        if (argument.find('=') != std::string::npos)
        {
            arguments.push_back(_wide(argument));
        }
        else
        {
            actions.push_back(argument);
        }
    }
    dl_iterate_phdr(_printLibrary, nullptr);
    const int started = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    std::printf("start: %d\n", started);
    if (started != eIxlaOk)
    {
        return 1;
    }
    for (const std::string& action : actions)
    {
        _act(action);
    }
    const int stopped = ixlaStop();
    std::printf("stop: %d\n", stopped);
    return stopped == eIxlaOk ? 0 : 1;
}
