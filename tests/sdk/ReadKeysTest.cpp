// SPDX-License-Identifier: MIT
#include "helpers/ReadKeys.h"

#include "helpers/InOrder.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace
{
constexpr wchar_t kReadId[] = L"test.id";

class ReadKeysTest : public testing::Test
{
protected:
    /// Starts a core whose configuration test.id has the lines of iText.
    void start(const std::string& iText)
    {
        fCore.writeManagerConfig("test.id = test.prs\n");
        fCore.writeConfig("test.prs", iText);
        ASSERT_EQ(0, fCore.start());
    }

    CoreRun fCore;
    PBaseptr<IConfig> fConfig;
};

TEST_F(ReadKeysTest, ReadsEachTypeOfVariable)
{
    start("bool = yes\nint = -5\nunsigned = 4294967295\nlong = -6\nint64 = -9223372036854775808\n"
          "uint64 = 18446744073709551615\ntext = some text\n");
    bool truth = false;
    int number = 0;
    unsigned int count = 0;
    long machine = 0;
    std::int64_t wide = 0;
    std::uint64_t wideCount = 0;
    PString text;
    EXPECT_EQ(eIxlaOk, ixlaInOrder(ixlaRead(kReadId, ixlaKey(L"bool", truth),
                                            ixlaKey(L"int", number), ixlaKey(L"unsigned", count),
                                            ixlaKey(L"long", machine), ixlaKey(L"int64", wide),
                                            ixlaKey(L"uint64", wideCount), ixlaKey(L"text", text)))
                           .code());
    EXPECT_TRUE(truth);
    EXPECT_EQ(-5, number);
    EXPECT_EQ(std::numeric_limits<unsigned int>::max(), count);
    EXPECT_EQ(-6, machine);
    EXPECT_EQ(std::numeric_limits<std::int64_t>::min(), wide);
    EXPECT_EQ(std::numeric_limits<std::uint64_t>::max(), wideCount);
    EXPECT_EQ("some text", ixlaNarrow(text));
}

TEST_F(ReadKeysTest, AMissingKeyKeepsTheDefault)
{
    start("other = 1\n");
    int size = 7;
    int other = 0;
    EXPECT_EQ(
        eIxlaOk,
        ixlaInOrder(ixlaRead(kReadId, ixlaKey(L"size", size), ixlaKey(L"other", other))).code());
    EXPECT_EQ(7, size);
    EXPECT_EQ(1, other);
}

TEST_F(ReadKeysTest, AMissingRequiredKeyIsNamedWithItsConfiguration)
{
    start("size = 1\n");
    int size = 0;
    PString path(L"default");
    int last = 0;
    const PNamedResult result = ixlaInOrder(ixlaRead(
        kReadId, ixlaKey(L"size", size), ixlaRequiredKey(L"path", path), ixlaKey(L"last", last)));
    EXPECT_EQ(eIxlaNotFound, result.code());
    EXPECT_EQ("path", ixlaNarrow(result.name()));
    EXPECT_EQ(0u, result.text().find("path in test.id: -504 ("));
    EXPECT_EQ(1, size);
    EXPECT_EQ("default", ixlaNarrow(path));
}

TEST_F(ReadKeysTest, AWrongValueIsShownWithItsKey)
{
    start("size = 12x\n");
    int size = 7;
    const PNamedResult result = ixlaInOrder(ixlaRead(kReadId, ixlaKey(L"size", size)));
    EXPECT_EQ("size = 12x in test.id: -22 (Invalid argument)", result.text());
    EXPECT_EQ(7, size);
}

TEST_F(ReadKeysTest, ReadsALoadedConfigurationAgain)
{
    start("size = 1\n");
    int size = 0;
    EXPECT_EQ(eIxlaOk,
              ixlaInOrder(ixlaConfig(kReadId, fConfig), ixlaRead(fConfig, ixlaKey(L"size", size)))
                  .code());
    EXPECT_EQ(1, size);
    EXPECT_EQ(0, ixlaService<IConfigManager>()->setString(kReadId, L"size", L"many"));
    const PNamedResult result = ixlaInOrder(ixlaRead(fConfig, ixlaKey(L"size", size)));
    EXPECT_EQ("size = many: -22 (Invalid argument)", result.text());
    EXPECT_EQ(1, size);
}

TEST_F(ReadKeysTest, NamesTheIdThatCannotBeLoaded)
{
    int size = 7;
    PNamedResult result = ixlaInOrder(ixlaRead(kReadId, ixlaKey(L"size", size)));
    EXPECT_EQ(eIxlaCoreNotStarted, result.code());
    EXPECT_EQ("test.id", ixlaNarrow(result.name()));
    start("");
    const PNamedResult refused = ixlaInOrder(ixlaConfig(L"not=allowed", fConfig));
    EXPECT_EQ(eIxlaForbiddenCharacter, refused.code());
    EXPECT_EQ("not=allowed", ixlaNarrow(refused.name()));
    EXPECT_FALSE(fConfig);
}

TEST_F(ReadKeysTest, ReadingBeforeTheLoadIsAFailure)
{
    int size = 7;
    EXPECT_EQ(eIxlaInvalidArgument, ixlaInOrder(ixlaRead(fConfig, ixlaKey(L"size", size))).code());
}
} // namespace
