// SPDX-License-Identifier: MIT
#include "hostile/HostileTest.h"

#include "core/LogOrder.h"
#include "support/Texts.h"

#include <chrono>
#include <thread>

void HostileTest::startWith(const std::string& iPlugin)
{
    fCore.addPlugin(iPlugin);
    ASSERT_EQ(0, fCore.start());
}

int HostileTest::request(const std::string& iId, IBase*& oInstance)
{
    return ixlaGetInstance(wide(iId), oInstance);
}

int HostileTest::request(const std::string& iId)
{
    IBase* instance = nullptr;
    return request(iId, instance);
}

bool HostileTest::stopsCleanly()
{
    const int errors = fCore.logCount(" E Core ");
    const int result = fCore.stop();
    const std::string missing = firstOutOfOrder(
        fCore.logFile(),
        {"D Core [stopFlow] Stopping core...", "D Core [stopFlow] Waiting finished fNotifyExit: 0",
         "D Core [stopFlow] Join return res: (nil) exitCode: 0", "D Core [stopFlow] Done."});
    return result == 0 && missing.empty() && fCore.logCount(" E Core ") == errors &&
           fCore.logCount("D Core [thNotifyCoreExit] notifyCoreExit res: 0") > 0 &&
           ixlaStop() == eIxlaCoreNotStarted;
}

bool HostileTest::waitUntil(const std::function<bool()>& iCondition)
{
    for (int i = 0; i < 1000 && !iCondition(); ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return iCondition();
}
