// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "headers/SlotWalk.h"

#include <cstdarg>
#include <cstdint>

namespace
{
template <class TInterface>
struct Recorder : TInterface
{
    int incRef() override
    {
        return call.note("incRef");
    }

    int decRef() override
    {
        return call.note("decRef");
    }

    SlotCall call;
};

struct BaseRecorder : Recorder<IBase>
{
};

struct PluginRecorder : Recorder<IPlugin>
{
    int init() override
    {
        return call.note("init");
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        return reinterpret_cast<PString*>(
            static_cast<std::intptr_t>(call.note("getInterfaces", &oCount)));
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        return call.note("getInstance", &iInterfaceId, &oInstance);
    }
};

struct DispatcherRecorder : Recorder<IEventDispatcher>
{
    int addListener(const PLiteral& iTopic, IEventListener* iListener) override
    {
        return call.note("addListener", &iTopic, iListener);
    }

    int removeListener(const PLiteral& iTopic, IEventListener* iListener) override
    {
        return call.note("removeListener", &iTopic, iListener);
    }

    int send(const PLiteral& iTopic, IBase* iParam1, int iParam2) override
    {
        return call.note("send", &iTopic, iParam1, iParam2);
    }
};

struct ListenerRecorder : Recorder<IEventListener>
{
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override
    {
        return call.note("handleEvent", &iTopic, iParam1, iParam2);
    }
};

struct LoggerRecorder : Recorder<ILogger>
{
    int getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) override
    {
        return call.note("getLogger", &iName, &oLogger);
    }

    int setLevel(int iLevel) override
    {
        return call.note("setLevel", iLevel);
    }

    int setPrintOnConsole(bool iPrint) override
    {
        return call.note("setPrintOnConsole", iPrint);
    }

    int info(int iLevel, const wchar_t* iFormat, ...) override
    {
        va_list arguments;
        va_start(arguments, iFormat);
        const int result = call.note("info", iLevel, iFormat, va_arg(arguments, int));
        va_end(arguments);
        return result;
    }

    int error(int iLevel, const wchar_t* iFormat, ...) override
    {
        va_list arguments;
        va_start(arguments, iFormat);
        const int result = call.note("error", iLevel, iFormat, va_arg(arguments, int));
        va_end(arguments);
        return result;
    }

    int debug(int iLevel, const wchar_t* iFormat, ...) override
    {
        va_list arguments;
        va_start(arguments, iFormat);
        const int result = call.note("debug", iLevel, iFormat, va_arg(arguments, int));
        va_end(arguments);
        return result;
    }

    int dumpHex(int iLevel, const void* iData, int iSize, unsigned int iWidth) override
    {
        return call.note("dumpHex", iLevel, iData, iSize, iWidth);
    }

    int showMsgBox(int iLevel, const wchar_t* iFormat, ...) override
    {
        va_list arguments;
        va_start(arguments, iFormat);
        const int result = call.note("showMsgBox", iLevel, iFormat, va_arg(arguments, int));
        va_end(arguments);
        return result;
    }
};
} // namespace

std::vector<std::string> walkBase()
{
    BaseRecorder recorder;
    return beginWalk("IBase", recorder).problems();
}

std::vector<std::string> walkPlugin()
{
    PluginRecorder recorder;
    SlotWalk walk = beginWalk("IPlugin", recorder);
    const PLiteral id(L"id");
    IBase* instance = nullptr;
    unsigned int count = 0;

    walk.expect(3, "init");
    walk.expect<unsigned int&>(4, "getInterfaces", count);
    walk.expect<const PLiteral&, IBase*&>(5, "getInstance", id, instance);
    return walk.problems();
}

std::vector<std::string> walkEventDispatcher()
{
    DispatcherRecorder recorder;
    SlotWalk walk = beginWalk("IEventDispatcher", recorder);
    const PLiteral topic(L"topic");
    ListenerRecorder listener;

    walk.expect<const PLiteral&, IEventListener*>(3, "addListener", topic, &listener);
    walk.expect<const PLiteral&, IEventListener*>(4, "removeListener", topic, &listener);
    walk.expect<const PLiteral&, IBase*, int>(5, "send", topic, &listener, -5);
    return walk.problems();
}

std::vector<std::string> walkEventListener()
{
    ListenerRecorder recorder;
    SlotWalk walk = beginWalk("IEventListener", recorder);
    const PLiteral topic(L"topic");

    walk.expect<const PLiteral&, IBase*, int>(3, "handleEvent", topic, &recorder, -3);
    return walk.problems();
}

std::vector<std::string> walkLogger()
{
    LoggerRecorder recorder;
    SlotWalk walk = beginWalk("ILogger", recorder);
    const PLiteral name(L"name");
    PBaseptr<ILogger> logger;

    walk.expect<const PLiteral&, PBaseptr<ILogger>&>(3, "getLogger", name, logger);
    walk.expect<int>(4, "setLevel", -4);
    walk.expect<bool>(5, "setPrintOnConsole", true);
    walk.expectMessage(6, "info");
    walk.expectMessage(7, "error");
    walk.expectMessage(8, "debug");
    walk.expect<int, const void*, int, unsigned int>(9, "dumpHex", 1, &name, 2, 3u);
    walk.expectMessage(10, "showMsgBox");
    return walk.problems();
}
