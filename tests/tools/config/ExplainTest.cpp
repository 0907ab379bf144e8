// SPDX-License-Identifier: MIT
// explain: each line that names a key, and what becomes of it.

#include "ConfigTool.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using ::testing::HasSubstr;

class ConfigToolExplains : public ConfigTool
{
protected:
    /// Explains the key port of com.example.net.
    int explain(const std::string& iOption = "")
    {
        return iOption.empty() ? ask({"explain", "com.example.net", "port"})
                               : ask({"explain", "com.example.net", "port", iOption});
    }

    /// The text of the line that the core answers with.
    std::string winner()
    {
        explain("--json");
        const nlohmann::json result = json();
        for (const nlohmann::json& line : result["lines"])
        {
            if (line["answers"] && line["attribute"].is_null())
            {
                return line["file"].get<std::string>() + ":" + line["line"].dump();
            }
        }
        return "";
    }
};

TEST_F(ConfigToolExplains, EveryLineOfFilesAndStore)
{
    write("config/net.prs", "port = 70\n# a comment\nport = 80\nport:unit = tcp\nhost = x\n");
    write("config/net.local.prs", "port = 8080\nport:unit = udp\nport:scope = local\n");
    write("config/store.txt", "com.example.net|port = 9000\ncom.example.net|port:scope = net\n"
                              "com.example.ui|port = 1\n");
    EXPECT_EQ(0, explain());
    EXPECT_EQ(
        "com.example.net port = 9000\n"
        "\n"
        "  config/net.prs:1        port = 70           replaced by config/net.local.prs:1\n"
        "  config/net.prs:3        port = 80           replaced by config/net.local.prs:1\n"
        "* config/net.prs:4        port:unit = tcp     wins\n"
        "  config/net.local.prs:1  port = 8080         hidden by the store\n"
        "  config/net.local.prs:2  port:unit = udp     ignored: given first by config/net.prs:4\n"
        "  config/net.local.prs:3  port:scope = local  hidden by the store\n"
        "* config/store.txt:1      port = 9000         wins\n"
        "* config/store.txt:2      port:scope = net    wins\n"
        "\n"
        "config/store.txt:1 wins: the store comes before the files, and none of them pins the key "
        "with const.\n"
        "A value set at run time would win; what a running process has set cannot be seen from "
        "outside.\n",
        out);
}

TEST_F(ConfigToolExplains, TheLastValueOfTheFilesWithoutAStore)
{
    write("config/net.local.prs", "port = 81\nport = 82\n");
    EXPECT_EQ("config/net.local.prs:2", winner());
    EXPECT_EQ("no", json()["pinned"]);
    EXPECT_EQ("82", json()["value"]);
    EXPECT_TRUE(json()["runTimeValueWins"]);
    EXPECT_TRUE(json()["agreesWithCore"]);
}

TEST_F(ConfigToolExplains, APinInTheFilesThatPrecedesAPinInTheStore)
{
    write("config/net.local.prs", "port:const = ON\n");
    write("config/store.txt", "com.example.net|port = 9\ncom.example.net|port:const = true\n");
    EXPECT_EQ("config/net.prs:1", winner());
    EXPECT_EQ("file", json()["pinned"]);
    EXPECT_FALSE(json()["runTimeValueWins"]);
    EXPECT_TRUE(json()["agreesWithCore"]);
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("hidden: a file pins the key with const"));
    EXPECT_THAT(out, HasSubstr("A value set at run time changes nothing."));
}

TEST_F(ConfigToolExplains, APinInTheStore)
{
    write("config/net.prs", "port = 80\nport:unit = tcp\nport:const = no\n");
    write("config/store.txt", "com.example.net|port = 9\ncom.example.net|port:const = 1\n");
    EXPECT_EQ("config/store.txt:1", winner());
    EXPECT_EQ("store", json()["pinned"]);
    EXPECT_FALSE(json()["runTimeValueWins"]);
    // A pinned record answers alone, also for attributes that it lacks.
    EXPECT_FALSE(json()["lines"][1]["answers"]);
    EXPECT_TRUE(json()["agreesWithCore"]);
}

TEST_F(ConfigToolExplains, AConstThatIsFalseFirst)
{
    write("config/net.prs", "port = 80\nport:const = no\nport:const = yes\n");
    write("config/store.txt", "com.example.net|port = 9\n");
    EXPECT_EQ("config/store.txt:1", winner());
    EXPECT_TRUE(json()["agreesWithCore"]);
}

TEST_F(ConfigToolExplains, AKeyWithAttributesOnly)
{
    write("config/net.prs", "port:unit = tcp\n");
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("com.example.net port = \n"));
    EXPECT_THAT(out, HasSubstr("A key with nothing but attributes has an empty value"));
}

TEST_F(ConfigToolExplains, AnEmptyStoredValue)
{
    write("config/store.txt", "com.example.net|port:unit = tcp\n");
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("com.example.net port = \n"));
    EXPECT_THAT(out, HasSubstr("config/net.prs:1    port = 80        hidden by the store\n"));
}

TEST_F(ConfigToolExplains, LinesAfterABrokenOne)
{
    write("config/net.prs", "port = 80\nbroken\nport = 81\n");
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("config/net.prs:3  port = 81  not read because of line 2\n"));
    EXPECT_THAT(out, HasSubstr("Note: config/net.prs:2: -3001 (eIxlaBadConfigLine"));
    write("config/net.prs", "broken\nport = 81\n");
    EXPECT_EQ(1, explain());
    EXPECT_THAT(out, HasSubstr("com.example.net port = -504 (eIxlaNotFound"));
    EXPECT_THAT(out, HasSubstr("No line that the core reads names the key."));
}

TEST_F(ConfigToolExplains, ABrokenStore)
{
    write("config/store.txt", "com.example.net|port = 9\nbroken\n");
    EXPECT_EQ("config/net.prs:1", winner());
    EXPECT_TRUE(json()["agreesWithCore"]);
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("config/store.txt:1  port = 9   not read because of line 2\n"));
}

TEST_F(ConfigToolExplains, AMissingFile)
{
    write("config/ixlap.configmanager.prs", "com.example.net = net.prs, gone.prs, /no/where.prs\n");
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("Note: config/gone.prs: -2 (No such file or directory)\n"
                               "Note: /no/where.prs: -2 (No such file or directory)\n"));
}

TEST_F(ConfigToolExplains, FilesInTheOrderOfTheCore)
{
    write("config/ixlap.configmanager.prs",
          "com.example.net = net.local.prs, net.prs, net.local.prs\n");
    write("config/net.local.prs", "port = 81\n");
    EXPECT_EQ("config/net.local.prs:1", winner());
    EXPECT_EQ(3u, json()["lines"].size());
    EXPECT_TRUE(json()["agreesWithCore"]);
}

TEST_F(ConfigToolExplains, TextsWithControlCharacters)
{
    write("config/net.prs", "port = \x1B[31m\xFF\tred\n");
    EXPECT_EQ(0, explain());
    EXPECT_THAT(out, HasSubstr("port = \\x1b[31m\\xff\\tred"));
    EXPECT_THAT(out, ::testing::Not(HasSubstr("\x1B")));
}

TEST_F(ConfigToolExplains, RandomFilesAndStoresLikeTheCore)
{
    std::mt19937 random(20260504);
    const auto pick = [&](const std::vector<std::string>& iTexts)
    {
        return iTexts[random() % iTexts.size()];
    };
    const auto lines = [&](const std::string& iPrefix)
    {
        std::string text;
        for (unsigned int left = random() % 6; left > 0; --left)
        {
            text += iPrefix + "port" + pick({"", "", "", ":const", ":unit", ": "}) + " = " +
                    pick({"1", "2", "true", "no", "", "x y"}) + "\n" +
                    (random() % 16 == 0 ? "broken\n" : "");
        }
        return text;
    };
    for (int i = 0; i < 25; ++i)
    {
        write("config/net.prs", lines(""));
        write("config/net.local.prs", lines(""));
        write("config/store.txt", lines("com.example.net|"));
        explain("--json");
        EXPECT_EQ(true, json()["agreesWithCore"]) << out << read("config/net.prs") << "---\n"
                                                  << read("config/net.local.prs");
    }
}

TEST_F(ConfigToolExplains, ADifferenceBetweenTheLinesAndTheCore)
{
    // A file that is another one whenever it is opened.
    const std::string pipe = dir.file("pipe");
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    std::signal(SIGPIPE, SIG_IGN);
    std::atomic<bool> ends{false};
    std::thread writer(
        [&]
        {
            for (int i = 0; !ends; ++i)
            {
                std::ofstream(pipe) << "port = " << i << '\n';
                // The reader is to find the end of the file.
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        });
    const int code =
        ask({"--core", "custom.config.net.prs=" + pipe, "explain", "com.example.net", "port"});
    ends = true;
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK); // lets the writer go on
    writer.join();
    ::close(reader);
    EXPECT_EQ(1, code);
    EXPECT_THAT(out, HasSubstr("DIFFERENCE: asked for the value, the core answers \""));
}

TEST_F(ConfigToolExplains, NothingForAnUnknownKey)
{
    EXPECT_EQ(1, ask({"explain", "com.example.net", "prot"}));
    EXPECT_EQ("", out);
    EXPECT_THAT(err, HasSubstr("com.example.net prot: neither the files nor the store have it"));
    EXPECT_EQ(1, ask({"explain", "com.example.net", "prot", "--json"}));
    EXPECT_EQ(0u, json()["lines"].size());
}
