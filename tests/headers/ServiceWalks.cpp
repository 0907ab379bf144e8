// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "headers/SlotWalk.h"

#include <cstdarg>
#include <cstdint>

namespace
{
/// Defines an operation of the logger with the arguments of a message.
#define IXLAL_RECORDED_MESSAGE(iOperation)                                                         \
    int iOperation(int iLevel, const wchar_t* iFormat, ...) override                               \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, iFormat);                                                              \
        const int number = va_arg(arguments, int);                                                 \
        va_end(arguments);                                                                         \
        return call.note<int, const wchar_t*, int>(#iOperation, iLevel, iFormat, number);          \
    }

struct PluginRecorder : SlotRecorder<IPlugin>
{
    IXLAL_RECORDED_0(init)
    IXLAL_RECORDED_2(getInstance, const PLiteral&, IBase*&)

    PString* getInterfaces(unsigned int& oCount) override
    {
        return reinterpret_cast<PString*>(
            static_cast<std::intptr_t>(call.note<unsigned int&>("getInterfaces", oCount)));
    }
};

struct DispatcherRecorder : SlotRecorder<IEventDispatcher>
{
    IXLAL_RECORDED_2(addListener, const PLiteral&, IEventListener*)
    IXLAL_RECORDED_2(removeListener, const PLiteral&, IEventListener*)
    IXLAL_RECORDED_3(send, const PLiteral&, IBase*, int)
};

struct ListenerRecorder : SlotRecorder<IEventListener>
{
    IXLAL_RECORDED_3(handleEvent, const PLiteral&, IBase*, int)
};

struct LoggerRecorder : SlotRecorder<ILogger>
{
    IXLAL_RECORDED_2(getLogger, const PLiteral&, PBaseptr<ILogger>&)
    IXLAL_RECORDED_1(setLevel, int)
    IXLAL_RECORDED_1(setPrintOnConsole, bool)
    IXLAL_RECORDED_MESSAGE(info)
    IXLAL_RECORDED_MESSAGE(error)
    IXLAL_RECORDED_MESSAGE(debug)
    IXLAL_RECORDED_4(dumpHex, int, const void*, int, unsigned int)
    IXLAL_RECORDED_MESSAGE(showMsgBox)
};
} // namespace

std::vector<std::string> walkBase()
{
    SlotRecorder<IBase> recorder;
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
