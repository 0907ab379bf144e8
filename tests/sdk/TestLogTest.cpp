// SPDX-License-Identifier: MIT
#include "testkit/PTestLog.h"

#include "sdk/Thrown.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <thread>

namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

class TestLogTest : public testing::Test
{
protected:
    TempDir fDir;
    PTestLog fLog{fDir.file("some.log")};
};

TEST_F(TestLogTest, IsEmptyWithoutAFile)
{
    EXPECT_THAT(fLog.lines(), ElementsAre());
    EXPECT_EQ("    (nothing)\n", fLog.tail());
}

TEST_F(TestLogTest, FindsLinesInTheirOrder)
{
    fDir.write("some.log", "one a\ntwo\nthree a\n");
    EXPECT_THAT(fLog.lines(), ElementsAre("one a", "two", "three a"));
    EXPECT_THAT(fLog.find("a"), ElementsAre("one a", "three a"));
    EXPECT_EQ("    two\n    three a\n", fLog.tail(2));
}

TEST_F(TestLogTest, ReturnsTheErrorLinesOfCoreAndPlugins)
{
    fDir.write("some.log", "x E Core [a] b\nx D Core E pgs?\nx E pgs [c]\n");
    EXPECT_THAT(fLog.errors(), ElementsAre("x E Core [a] b", "x E pgs [c]"));
}

TEST_F(TestLogTest, ReturnsTheLinesWithoutWhatDiffersInEachRun)
{
    fDir.write("some.log", "2026-05-04 10:20:30.123 4711:4712 E pgs [jobs] no  disk\n"
                           "2026-05-04 10:20:30.124 4711:4712 D Core \n"
                           "continued\n");
    EXPECT_THAT(fLog.texts(), ElementsAre("E [jobs] no  disk", "D ", "continued"));
}

TEST_F(TestLogTest, WaitsForALaterLine)
{
    std::thread writer(
        [this]
        {
            std::this_thread::sleep_for(30ms);
            fDir.write("some.log", "early\nhere it is\n");
        });
    EXPECT_EQ("here it is", fLog.waitFor("it"));
    writer.join();
}

TEST_F(TestLogTest, ShowsTheEndOfTheLogWhenNoLineComes)
{
    fDir.write("some.log", "something else\n");
    EXPECT_THAT(textThrown([this] { fLog.waitFor("it", 10ms); }),
                testing::AllOf(
                    HasSubstr("no line with \"it\" in " + fDir.file("some.log") + " within 10 ms"),
                    HasSubstr("\n    something else\n")));
}
} // namespace
