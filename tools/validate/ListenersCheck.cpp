// SPDX-License-Identifier: MIT
// The check for listeners that stay subscribed.

#include "IEventDispatcher.h"
#include "helpers/Text.h"
#include "shared/PFileDescriptor.h"
#include "shared/ToolTexts.h"
#include "validate/PCheck.h"
#include "validate/PTrial.h"

#include <cstdint>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace
{
/// A subscription that the dispatcher has logged. It may have ended since.
struct PSubscribed
{
    std::string topic;
    void* listener = nullptr;
};

std::vector<PSubscribed> _subscribed(const PTestLog& iLog)
{
    const std::string begin = " D pgs [EventDispatcher][addListener] iTopic: ";
    const std::string middle = " iListener: ";
    std::vector<PSubscribed> subscribed;
    for (const std::string& line : iLog.find(begin))
    {
        const std::size_t topic = line.find(begin) + begin.size();
        const std::size_t listener = line.rfind(middle);
        PSubscribed each;
        if (listener != std::string::npos && listener >= topic &&
            std::istringstream(line.substr(listener + middle.size())) >> each.listener)
        {
            each.topic = line.substr(topic, listener - topic);
            subscribed.push_back(each);
        }
    }
    return subscribed;
}

/// The table of virtual functions of an object; null if nothing is mapped there. The object may
/// have been destroyed, so the kernel reads it.
const void* _tableOf(const void* iObject)
{
    const void* table = nullptr;
    const PFileDescriptor memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
    const ssize_t count = ::pread(memory.get(), &table, sizeof table,
                                  static_cast<off_t>(reinterpret_cast<std::uintptr_t>(iObject)));
    return count == sizeof table ? table : nullptr;
}
} // namespace

// The reference to the dispatcher keeps its table after the stop. Only removing a listener shows
// whether it is subscribed; that also works with the address of a destroyed one.
PVerdict checkListeners(PTrial& ioTrial)
{
    PTestCore& core = ioTrial.startCore();
    const PBaseptr<IEventDispatcher> dispatcher = core.service<IEventDispatcher>();
    ioTrial.initialise();
    ioTrial.stopCore();
    std::vector<std::string> left;
    for (const PSubscribed& each : _subscribed(core.log()))
    {
        ioTrial.phase("releasing its listener of \"" + each.topic + "\", if that is left");
        const void* const table = _tableOf(each.listener);
        const int result = dispatcher->removeListener(ixlaWide(each.topic),
                                                      static_cast<IEventListener*>(each.listener));
        if (result == eIxlaOk && ioTrial.isOfPlugin(table))
        {
            left.push_back("\"" + each.topic + "\"");
        }
    }
    return left.empty() ? PVerdict::pass("leaves no listener subscribed")
                        : PVerdict::fail("stays subscribed to " + joinedTexts(left),
                                         "remove each listener in the destructor of the plugin at "
                                         "the latest; PSubscription does");
}
