// SPDX-License-Identifier: MIT
#include "greeter/IGreeter.h"

#include "IConfigManager.h"
#include "testkit/GTest.h"

namespace
{
class GreeterTest : public IxlaTest
{
protected:
    GreeterTest()
    {
        fCore.addPlugin(GREETER_LIBRARY); // its path, defined in CMakeLists.txt
    }

    std::string greet(const wchar_t* iName)
    {
        PString greeting;
        EXPECT_THAT(fCore.service<IGreeter>(kGreeterId)->greet(iName, greeting), IsOk());
        return ixlaNarrow(greeting);
    }
};

TEST_F(GreeterTest, SaysHelloByDefault)
{
    fCore.start();
    EXPECT_EQ("Hello, Ann", greet(L"Ann"));
}

TEST_F(GreeterTest, UsesTheConfiguredGreeting)
{
    fCore.configure("com.example.greeter", "greeting = Good morning\n");
    fCore.start();
    EXPECT_EQ("Good morning, Ann", greet(L"Ann"));
}

TEST_F(GreeterTest, FollowsAValueSetAtRunTime)
{
    fCore.start();
    EXPECT_EQ("Hello, Ann", greet(L"Ann"));
    const auto manager = fCore.service<IConfigManager>();
    EXPECT_THAT(manager->setString(kGreeterId, L"greeting", L"Good night"), IsOk());
    EXPECT_EQ("Good night, Ann", greet(L"Ann"));
}

TEST_F(GreeterTest, LogsEachGreetingThatItUses)
{
    fCore.configure("com.example.greeter", "greeting = Good morning\n");
    fCore.start();
    greet(L"Ann");
    fCore.log().waitFor("greetings begin with: Good morning");
    EXPECT_THAT(fCore.service<IConfigManager>()->setString(kGreeterId, L"greeting", L"Bye"),
                IsOk());
    fCore.log().waitFor("greetings begin with: Bye");
}

TEST_F(GreeterTest, ReportsEveryGreetingToListenersAndTheLog)
{
    fCore.start();
    PEventRecorder& greeted = fCore.record(kGreetedTopic);
    greet(L"Ann");
    greet(L"Bob");
    EXPECT_EQ(2, greeted.waitFor(2).number);
    fCore.log().waitFor("greeting 2: Hello, Bob");
}

TEST_F(GreeterTest, RefusesAnEmptyName)
{
    fCore.start();
    PString greeting;
    const auto greeter = fCore.service<IGreeter>(kGreeterId);
    EXPECT_THAT(greeter->greet(L"", greeting), IsResult(eIxlaInvalidArgument));
}

TEST_F(GreeterTest, RefusesANameThatIsTooLong)
{
    fCore.configure("com.example.greeter", "longest = 3\n");
    fCore.start();
    EXPECT_EQ("Hello, Ann", greet(L"Ann"));
    PString greeting;
    const auto greeter = fCore.service<IGreeter>(kGreeterId);
    EXPECT_THAT(greeter->greet(L"Anna", greeting), IsResult(eIxlaInvalidArgument));
}

TEST_F(GreeterTest, ReportsAWrongSettingAndUsesTheDefault)
{
    fCore.configure("com.example.greeter", "longest = 0\n");
    fCore.start();
    EXPECT_EQ("Hello, Ann", greet(L"Ann"));
    fCore.log().waitFor(
        "[com.example.greeter] longest = 0: not a number from 1 to 1000; the default "
        "\"100\" is used");
}
} // namespace
