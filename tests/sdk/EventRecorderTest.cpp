// SPDX-License-Identifier: MIT
#include "testkit/PEventRecorder.h"

#include "helpers/PCounted.h"
#include "sdk/Thrown.h"
#include "testkit/PTestCore.h"

#include <gmock/gmock.h>

#include <thread>

namespace
{
using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr wchar_t kTopic[] = L"test.topic";

class INumber : public IBase
{
public:
    virtual int number() const = 0;
};

class Number : public PCounted<INumber>
{
public:
    Number(int iNumber, bool& oGone) : fNumber(iNumber), fGone(oGone)
    {
    }

    ~Number() override
    {
        fGone = true;
    }

    int number() const override
    {
        return fNumber;
    }

private:
    const int fNumber;
    bool& fGone;
};

class EventRecorderTest : public testing::Test
{
protected:
    EventRecorderTest()
    {
        fCore.start();
    }

    bool fGone = false;
    PTestCore fCore;
};

TEST_F(EventRecorderTest, RecordsTopicParameterAndNumber)
{
    PEventRecorder& recorder = fCore.record(kTopic);
    fCore.send(kTopic, nullptr, 1);
    fCore.send(L"test.other", nullptr, 2);
    fCore.send(kTopic, PBaseptr<INumber>::adopt(new Number(42, fGone)).get(), 3);
    ASSERT_EQ(2u, recorder.count());
    EXPECT_FALSE(recorder.events()[0].parameter);
    EXPECT_EQ(1, recorder.events()[0].number);
    EXPECT_EQ(42, recorder.events()[1].as<INumber>()->number());
    EXPECT_EQ(3, recorder.waitFor(2).number);
}

TEST_F(EventRecorderTest, ReleasesParametersBeforeTheCoreStops)
{
    PEventRecorder& recorder = fCore.record(kTopic);
    fCore.send(kTopic, PBaseptr<INumber>::adopt(new Number(42, fGone)).get());
    EXPECT_FALSE(fGone);
    fCore.stop();
    EXPECT_TRUE(fGone);
    EXPECT_EQ(1u, recorder.count());
}

TEST_F(EventRecorderTest, WaitsForAnEventOfAnotherThread)
{
    const PEventRecorder& recorder = fCore.record(kTopic);
    std::thread sender(
        [this]
        {
            std::this_thread::sleep_for(30ms);
            fCore.send(kTopic, nullptr, 7);
        });
    EXPECT_EQ(7, recorder.waitFor(1).number);
    sender.join();
}

TEST_F(EventRecorderTest, ReportsTheCountWhenAnEventIsMissing)
{
    const PEventRecorder& recorder = fCore.record(kTopic);
    fCore.send(kTopic);
    EXPECT_THAT(textThrown([&] { recorder.waitFor(3, 10ms); }),
                HasSubstr("only 1 of 3 events of \"test.topic\" within 10 ms"));
    EXPECT_EQ("events are counted from 1", textThrown([&] { recorder.waitFor(0); }));
}

TEST_F(EventRecorderTest, ReportsAFailedSubscription)
{
    EXPECT_THAT(textThrown([this] { fCore.record(L""); }), HasSubstr("-502"));
    fCore.stop();
    EXPECT_THAT(textThrown([this] { fCore.record(kTopic); }),
                testing::AllOf(HasSubstr("cannot record events of \"test.topic\": -1002"),
                               HasSubstr("start the core first")));
}
} // namespace
