// SPDX-License-Identifier: MIT
// The check for destructors that call the core, which destroys an unloaded plugin with its lock
// held.

#include "helpers/ResultText.h"
#include "shared/ToolTexts.h"
#include "validate/PCheck.h"
#include "validate/PCoreCalls.h"
#include "validate/PTrial.h"

namespace
{
/// The calls of this thread by the plugin, without the look-up of the logger: errors are reported
/// there, and it never waits.
std::string _callsInDestructor(const PTrial& iTrial, const std::vector<PCoreCalls::Call>& iCalls)
{
    const std::string logger = "ixlaGetInstance(\"" + ixlaNarrow(kIxlaLoggerId) + "\")";
    std::vector<std::string> texts;
    for (const PCoreCalls::Call& call : iCalls)
    {
        if (call.thread == std::this_thread::get_id() && call.text != logger &&
            iTrial.isOfPlugin(call.caller))
        {
            texts.push_back(call.text);
        }
    }
    return joinedTexts(texts);
}
} // namespace

PVerdict checkDestructor(PTrial& ioTrial)
{
    ioTrial.startCore();
    ioTrial.initialise();
    IPlugin* const plugin = ioTrial.registeredPlugin();
    ioTrial.phase("unloading the plugin, which the core destroys with its lock held");
    PCoreCalls::begin();
    const int result = ixlaUnloadPlugin(plugin);
    const std::string calls = _callsInDestructor(ioTrial, PCoreCalls::end());
    if (result != eIxlaOk)
    {
        return PVerdict::fail("cannot be unloaded: " + ixlaResultText(result),
                              "see the core log of ixla-host");
    }
    return calls.empty()
               ? PVerdict::pass("does not call the core while it is destroyed")
               : PVerdict::fail("calls the core while it is destroyed, with the lock of the core "
                                "held: " +
                                    calls,
                                "look services up in init and hold them with PBaseptr");
}
