// SPDX-License-Identifier: MIT
#include "soak/EventWorker.h"

#include "plugins/ITestService.h"
#include "soak/SoakPlugins.h"

namespace
{
constexpr std::size_t kListeners = 8;
} // namespace

void EventWorker::begin()
{
    fTopic = ownName(L"soak.own");
}

void EventWorker::step()
{
    switch (pick(8))
    {
    case 0:
        return subscribeOwn();
    case 1:
        return unsubscribeOwn();
    case 2:
        return share();
    case 3:
        return subscribePlugin();
    case 4:
    case 5:
        return sendShared();
    default:
        return sendOwn();
    }
}

void EventWorker::end()
{
    while (!fOwn.empty())
    {
        unsubscribeOwn();
    }
    expect("send to nobody", -5001, fDispatcher->send(fTopic.c_str(), nullptr, 0));
}

void EventWorker::subscribeOwn()
{
    if (fOwn.size() == kListeners)
    {
        return expect("subscribe twice", -5002,
                      fDispatcher->addListener(fTopic.c_str(), fOwn.back().listener.get()));
    }
    const unsigned int number = fNextNumber++;
    const PBaseptr<SoakListener> listener = SoakListener::make(
        [this, number](const PLiteral&, IBase*, int) { fTold.push_back(number); });
    expect("subscribe", 0, fDispatcher->addListener(fTopic.c_str(), listener.get()));
    fOwn.push_back({listener, number});
}

void EventWorker::unsubscribeOwn()
{
    if (fOwn.empty())
    {
        const PBaseptr<SoakListener> stranger = SoakListener::make();
        return expect("unsubscribe a stranger", -5001,
                      fDispatcher->removeListener(fTopic.c_str(), stranger.get()));
    }
    const auto gone =
        fOwn.begin() + static_cast<std::ptrdiff_t>(pick(static_cast<unsigned int>(fOwn.size())));
    expect("unsubscribe", 0, fDispatcher->removeListener(fTopic.c_str(), gone->listener.get()));
    fOwn.erase(gone);
}

void EventWorker::sendOwn()
{
    fTold.clear();
    const int result = fDispatcher->send(fTopic.c_str(), nullptr, 7);
    expect("send", fOwn.empty() ? -5001 : 0, result);
    std::vector<unsigned int> expected;
    for (auto own = fOwn.rbegin(); own != fOwn.rend(); ++own)
    {
        expected.push_back(own->number);
    }
    check("delivery in order", fTold == expected, "others were told, or in another order");
}

void EventWorker::share()
{
    const std::wstring topic = sharedTopic();
    // Other threads may call it until their deliveries end, so it holds the objects that it uses.
    const PBaseptr<IEventDispatcher> dispatcher = fDispatcher;
    PBaseptr<SoakListener> listener = SoakListener::make(
        [dispatcher](const PLiteral&, IBase*, int iDepth)
        {
            if (iDepth > 0)
            {
                // A topic without listeners is no error here.
                static_cast<void>(dispatcher->send(L"soak.shared.0", nullptr, iDepth - 1));
            }
        });
    expect("subscribe", 0, fDispatcher->addListener(topic.c_str(), listener.get()));
    expect("send", 0, fDispatcher->send(topic.c_str(), nullptr, 1));
    check("delivery", listener->events() > 0, "listener was not told");
    expect("unsubscribe", 0, fDispatcher->removeListener(topic.c_str(), listener.get()));
}

void EventWorker::sendShared()
{
    const int result = fDispatcher->send(sharedTopic().c_str(), nullptr, 2);
    check("send", result == 0 || result == -5001, "result " + std::to_string(result));
}

void EventWorker::subscribePlugin()
{
    const PBaseptr<ITestService> plugin = service<ITestService>(kSoakStayId);
    const std::wstring topic = ownName(L"soak.plugin");
    expect("subscribe", 0, fDispatcher->addListener(topic.c_str(), plugin.get()));
    expect("send", 0, fDispatcher->send(topic.c_str(), nullptr, 0));
    expect("unsubscribe", 0, fDispatcher->removeListener(topic.c_str(), plugin.get()));
}

std::wstring EventWorker::sharedTopic()
{
    return L"soak.shared." + std::to_wstring(pick(4));
}
