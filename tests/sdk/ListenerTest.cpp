// SPDX-License-Identifier: MIT
#include "helpers/PListener.h"

#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace
{
TEST(ListenerTest, PassesTheEventToTheCallable)
{
    std::string topic;
    IBase* parameter = nullptr;
    int number = 0;
    const auto listener = ixlaListener(
        [&](const PLiteral& iTopic, IBase* iParam1, int iParam2)
        {
            topic = std::string(iTopic.ptr(), iTopic.ptr() + iTopic.len());
            parameter = iParam1;
            number = iParam2;
        });
    EXPECT_EQ(0, listener->handleEvent(L"topic", listener.get(), 42));
    EXPECT_EQ("topic", topic);
    EXPECT_EQ(listener.get(), parameter);
    EXPECT_EQ(42, number);
}

TEST(ListenerTest, CallableMayReturnAnything)
{
    const auto listener = ixlaListener([](const PLiteral&, IBase*, int) { return -1; });
    EXPECT_EQ(0, listener->handleEvent(L"topic", nullptr, 0));
}

TEST(ListenerTest, CallableIsDestroyedWithTheListener)
{
    std::weak_ptr<int> watched;
    {
        const auto captured = std::make_shared<int>(1);
        watched = captured;
        auto listener = ixlaListener([captured](const PLiteral&, IBase*, int) {});
        EXPECT_EQ(2, captured.use_count());
    }
    EXPECT_TRUE(watched.expired());
}

TEST(ListenerTest, ExceptionsAreCaughtAndLogged)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    const auto listener =
        ixlaListener([](const PLiteral&, IBase*, int) { throw std::runtime_error("too loud"); });
    EXPECT_GT(0, listener->handleEvent(L"some.topic", nullptr, 0));
    EXPECT_EQ(1, countLines(core.pluginLogFile(), "E pgs [some.topic] Exception: too loud"));
}
} // namespace
