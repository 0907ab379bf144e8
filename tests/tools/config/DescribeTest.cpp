// SPDX-License-Identifier: MIT
// The keys that plugins declare: describe, template, and what the other commands make of them.

#include "ConfigTool.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

namespace
{
class ConfigToolKeys : public ConfigTool
{
protected:
    ConfigToolKeys()
    {
        std::filesystem::create_directory(dir.file("plugins"));
        std::filesystem::copy(IXLAL_KEYED_PLUGIN, dir.file("plugins/libkeyed.so"));
    }

    /// Runs a command with the plugins of the test.
    int know(std::vector<std::string> iArguments)
    {
        iArguments.insert(iArguments.begin(), {"--plugins", "plugins"});
        return run(iArguments);
    }

    /// The findings for a file of com.example.net.
    std::string check(const std::string& iText)
    {
        write("config/net.prs", iText);
        EXPECT_EQ(0, know({"check", "config/net.prs"})) << iText;
        EXPECT_EQ("", err);
        return out;
    }

    /// Replaces a text in the library by another one of the same length.
    void patch(const std::string& iFrom, const std::string& iTo) const
    {
        const std::string path = dir.file("plugins/libkeyed.so");
        std::ifstream in(path, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        const std::size_t place = bytes.find(iFrom);
        ASSERT_NE(std::string::npos, place) << iFrom;
        ASSERT_EQ(iFrom.size(), iTo.size());
        bytes.replace(place, iTo.size(), iTo);
        std::ofstream(path, std::ios::binary) << bytes;
    }
};

const std::string kNote = "ixla-config: warning: plugins/libkeyed.so: its note about keys of "
                          "com.example.net is damaged: its key ";
} // namespace

TEST_F(ConfigToolKeys, DescribesAnID)
{
    EXPECT_EQ(0, know({"describe", "com.example.net"}));
    EXPECT_EQ(
        "com.example.net, declared by plugins/libkeyed.so\n"
        "\n"
        "port: TCP port of the server\n"
        "    number from 1 to 65535; default: 8080; read at the start\n"
        "delay: pause between two attempts\n"
        "    number from -1 to 60000 (ms); default: 100; changes at run time\n"
        "total: bytes so far\n"
        "    number from -9223372036854775808 to 9223372036854775807 (bytes); default: 0; changes "
        "at run time\n"
        "mask: channels\n"
        "    number from 0 to 18446744073709551615; default: 1; changes at run time\n"
        "active: whether it listens\n"
        "    true or false; default: true; changes at run time\n"
        "host: name of the server: gr\xC3\xBC\xC3\x9F\n"
        "    text; default: localhost; read at the start\n"
        "order: which job is done first\n"
        "    one of oldest, newest; default: oldest; changes at run time\n"
        "magic: first bytes of a packet\n"
        "    bytes of two hexadecimal digits; default: 00ff; read at the start\n",
        out);
    EXPECT_EQ("", err);
}

TEST_F(ConfigToolKeys, DescribesAllIDs)
{
    EXPECT_EQ(0, run({"--plugins", "plugins/libkeyed.so", "describe"}));
    EXPECT_THAT(out, HasSubstr("\n\ncom.example.ui, declared by plugins/libkeyed.so\n\ncolour: "));
    EXPECT_EQ(0, know({"describe", "--names"}));
    EXPECT_EQ("com.example.net\ncom.example.ui\n", out);
    EXPECT_EQ(0, know({"describe", "com.example.ui", "--names"}));
    EXPECT_EQ("colour\n", out);
}

TEST_F(ConfigToolKeys, DescribesAsJson)
{
    EXPECT_EQ(0, know({"describe", "com.example.net", "--json"}));
    const nlohmann::json keys = json()["ids"].at(0)["keys"];
    EXPECT_EQ(R"({"change":"run-time","default":"100","description":"pause between two attempts",)"
              R"("high":"60000","key":"delay","low":"-1","type":"int32","unit":"ms"})",
              keys.at(1).dump());
    EXPECT_EQ(R"(["oldest","newest"])", keys.at(6)["choices"].dump());
    EXPECT_EQ(R"(["plugins/libkeyed.so"])", json()["ids"].at(0)["libraries"].dump());
}

TEST_F(ConfigToolKeys, FindsThePluginsInThePropertyFile)
{
    write("core.prs", "core.plugins.dir = plugins\n");
    EXPECT_EQ(0, run({"--core", "core.prs.file=core.prs", "describe", "--names"}));
    EXPECT_EQ("com.example.net\ncom.example.ui\n", out);
}

TEST_F(ConfigToolKeys, ReportsWhatItCannotDescribe)
{
    EXPECT_EQ(1, know({"describe", "com.example.met"}));
    EXPECT_EQ("ixla-config: com.example.met: no plugin declares keys of this ID; did you mean "
              "com.example.net?\n",
              err);
    EXPECT_EQ(1, know({"template", "none"}));
    EXPECT_THAT(err, HasSubstr("`ixla-config describe` lists those that are declared"));
    for (const char* command : {"describe", "template"})
    {
        EXPECT_EQ(2, run({command, "com.example.net"}));
        EXPECT_THAT(err, HasSubstr(std::string(command) + " needs --plugins"));
    }
    EXPECT_EQ(1, run({"--plugins", "none", "describe"}));
    EXPECT_EQ("ixla-config: none: cannot be read: No such file or directory; --plugins is a "
              "directory of plugin libraries, or a library\n",
              err);
    EXPECT_EQ(1, run({"--plugins", "config/net.prs", "describe"}));
    EXPECT_THAT(err, HasSubstr("config/net.prs: is not an ELF file"));
}

TEST_F(ConfigToolKeys, WritesATemplateWithTheDefaults)
{
    EXPECT_EQ(0, know({"template", "com.example.net"}));
    EXPECT_THAT(out, HasSubstr("# Settings of com.example.net, declared by libkeyed.so.\n"));
    EXPECT_THAT(out, HasSubstr("\n# pause between two attempts\n# number from -1 to 60000 (ms); "
                               "changes at run time\n#delay = 100\n"));
    EXPECT_EQ("", check(out));
    EXPECT_EQ(0, ask({"keys", "com.example.net"}));
    EXPECT_EQ("", out);
}

TEST_F(ConfigToolKeys, WritesATemplateWhoseLinesAreAccepted)
{
    EXPECT_EQ(0, know({"template", "com.example.net"}));
    std::string text = out;
    for (std::size_t place = text.find("\n#"); place != std::string::npos;
         place = text.find("\n#", place + 1))
    {
        if (text[place + 2] != ' ')
        {
            text.erase(place + 1, 1);
        }
    }
    EXPECT_EQ("", check(text));
    EXPECT_EQ(0, ask({"keys", "com.example.net", "--verbose"}));
    EXPECT_EQ("active = true\ndelay = 100\nhost = localhost\nmagic = 00ff\nmask = 1\n"
              "order = oldest\nport = 8080\ntotal = 0\n",
              out);
}

TEST_F(ConfigToolKeys, ChecksKeys)
{
    EXPECT_EQ("", check("port = 1\norder = newest\norder:const = true\nactive = OFF\nmagic =\n"));
    EXPECT_EQ(
        "config/net.prs:1:1: warning: \"prot\" is not a key of com.example.net; did you mean "
        "\"port\"?\n"
        "config/net.prs:3:1: warning: \"speed\" is not a key of com.example.net; `ixla-config "
        "describe com.example.net` lists them\n",
        check("prot = 1\nprot:const = yes\nspeed = 2\n"));
    // A key of the core is reported once.
    EXPECT_THAT(check("core.log.level = 2\n"), Not(HasSubstr("is not a key of com")));
    write("config/net.prs", "prot = 1\n");
    EXPECT_EQ(1, know({"check", "--strict", "config/net.prs"}));
}

TEST_F(ConfigToolKeys, ChecksValues)
{
    const std::string file = "config/net.prs:";
    EXPECT_EQ(
        file +
            "1:8: warning: \"http\" is not a number from 1 to 65535; the default \"8080\" is "
            "used\n" +
            file +
            "2:9: warning: \"60001\" is not a number from -1 to 60000; the default \"100\" is "
            "used\n" +
            file + "3:10: warning: \"maybe\" is not true or false; the default \"true\" is used\n" +
            file +
            "4:9: warning: \"random\" is not one of oldest, newest; the default \"oldest\" is "
            "used\n" +
            file +
            "5:9: warning: \"0x\" is not bytes of two hexadecimal digits; the default \"00ff\" is "
            "used\n" +
            file +
            "6:9: warning: \"9223372036854775808\" is not a number from -9223372036854775808 to "
            "9223372036854775807; the default \"0\" is used\n" +
            file +
            "7:8: warning: \"-1\" is not a number from 0 to 18446744073709551615; the default "
            "\"1\" is used\n",
        check("port = http\ndelay = 60001\nactive = maybe\norder = random\nmagic = 0x\n"
              "total = 9223372036854775808\nmask = -1\n"));
}

TEST_F(ConfigToolKeys, ChecksAFileOfSeveralIDs)
{
    write("config/ixlap.configmanager.prs",
          "com.example.net = net.prs\ncom.example.ui = net.prs\n");
    EXPECT_EQ("", check("port = 1\ncolour = red\n"));
    EXPECT_THAT(check("size = 1\n"), HasSubstr("\"size\" is not a key of com.example.net"));
    write("config/ixlap.configmanager.prs",
          "com.example.net = net.prs\ncom.example.other = net.prs\n");
    EXPECT_EQ("", check("size = 1\n"));
}

TEST_F(ConfigToolKeys, ChecksTheStore)
{
    write("config/store.txt", "com.example.net|port = 0\ncom.example.net|prot = 1\n"
                              "com.example.other|x = 1\n");
    EXPECT_EQ(0, know({"check", "config/store.txt"}));
    EXPECT_EQ("config/store.txt:1:24: warning: \"0\" is not a number from 1 to 65535; the default "
              "\"8080\" is used\n"
              "config/store.txt:2:1: warning: \"prot\" is not a key of com.example.net; did you "
              "mean \"port\"?\n",
              out);
}

TEST_F(ConfigToolKeys, ReportsUnusedFiles)
{
    write("config/old.prs", "port = 1\n");
    EXPECT_EQ(0, know({"check", "config/old.prs", "config/net.local.prs"}));
    EXPECT_EQ("config/old.prs:1:1: warning: no ID in ixlap.configmanager.prs has this file, so no "
              "plugin reads it by its ID\n",
              out);
    EXPECT_EQ(0, run({"check", "config/old.prs"}));
    EXPECT_EQ("", out);
}

TEST_F(ConfigToolKeys, ReportsMisspeltIDs)
{
    write("config/ixlap.configmanager.prs",
          "com.example.nte = net.prs\ncom.example.uj = net.prs\ncom.example.ui = net.prs\n");
    EXPECT_EQ(0, know({"check", "config/ixlap.configmanager.prs"}));
    EXPECT_EQ("config/ixlap.configmanager.prs:1:1: warning: no plugin declares keys of the ID "
              "\"com.example.nte\"; did you mean \"com.example.net\"?\n",
              out);
}

TEST_F(ConfigToolKeys, LeavesOtherIDsAlone)
{
    write("config/ixlap.configmanager.prs", "com.example.other = net.prs\n");
    EXPECT_EQ("", check("anything = x\n"));
}

TEST_F(ConfigToolKeys, ExplainsADeclaredKey)
{
    write("config/net.prs", "delay = 5\n");
    EXPECT_EQ(0, know({"--dir", "config", "explain", "com.example.net", "delay"}));
    EXPECT_THAT(out, EndsWith("\nDeclared: number from -1 to 60000 (ms); default: 100; changes at "
                              "run time: pause between two attempts\n"));
    write("config/net.prs", "delay = -5\n");
    EXPECT_EQ(0, know({"--dir", "config", "explain", "com.example.net", "delay"}));
    EXPECT_THAT(out, HasSubstr("\nThe plugin uses the default 100: \"-5\" is not a number from -1 "
                               "to 60000.\nDeclared: "));
    EXPECT_EQ(0, know({"--dir", "config", "explain", "com.example.net", "delay", "--json"}));
    EXPECT_EQ("60000", json()["declaration"]["high"]);
}

TEST_F(ConfigToolKeys, ExplainsADefault)
{
    const std::string expected =
        "com.example.net delay = 100\n\nNo line that the core reads names the key, so the plugin "
        "uses the default. A value set at run time would win.\nDeclared: number from -1 to 60000 "
        "(ms); default: 100; changes at run time: pause between two attempts\n";
    EXPECT_EQ(0, know({"--dir", "config", "explain", "com.example.net", "delay"}));
    EXPECT_EQ(expected, out);
    write("config/ixlap.configmanager.prs", "");
    EXPECT_EQ(0, know({"--dir", "config", "explain", "com.example.net", "delay"}));
    EXPECT_EQ(expected, out);
    EXPECT_EQ(0, know({"--dir", "config", "explain", "com.example.net", "delay", "--json"}));
    EXPECT_EQ("100", json()["value"]);
    EXPECT_EQ("int32", json()["declaration"]["type"]);
    EXPECT_EQ(1, know({"--dir", "config", "explain", "com.example.net", "none"}));
}

TEST_F(ConfigToolKeys, WarnsOfAStoredValueThatIsRefused)
{
    EXPECT_EQ(0, know({"--dir", "config", "store", "com.example.net", "delay", "x"}));
    EXPECT_THAT(err, HasSubstr("warning: \"x\" is not a number from -1 to 60000, so the plugin "
                               "uses the default 100\n"));
    EXPECT_EQ(0, know({"--dir", "config", "store", "com.example.net", "delay", "7"}));
    EXPECT_EQ("", err);
}

TEST_F(ConfigToolKeys, MergesLibrariesThatDeclareTheSame)
{
    std::filesystem::copy(IXLAL_KEYED_PLUGIN, dir.file("plugins/libsame.so"));
    EXPECT_EQ(0, know({"describe", "com.example.ui"}));
    EXPECT_EQ("com.example.ui, declared by plugins/libkeyed.so, plugins/libsame.so\n\n"
              "colour: colour of the frame\n    text; default: ; changes at run time\n",
              out);
    EXPECT_EQ("", err);
}

TEST_F(ConfigToolKeys, ReportsLibrariesThatDeclareSomethingElse)
{
    std::filesystem::copy(IXLAL_KEYED_PLUGIN, dir.file("plugins/libold.so"));
    patch("range\t1\t65535", "range\t1\t55555");
    EXPECT_EQ(0, know({"describe", "--names"}));
    EXPECT_EQ(
        "ixla-config: warning: plugins/libold.so: key \"port\" of com.example.net has another "
        "declaration: number from 1 to 65535; default: 8080; read at the start; the first one "
        "counts: number from 1 to 55555; default: 8080; read at the start\n",
        err);
}

TEST_F(ConfigToolKeys, ReportsDamageAndUsesTheRest)
{
    patch("default\t8080", "default\t8x80");
    EXPECT_EQ(0, know({"describe", "com.example.net", "--names"}));
    EXPECT_EQ("delay\ntotal\nmask\nactive\nhost\norder\nmagic\n", out);
    EXPECT_EQ(kNote + "\"port\" has a default that is not a number from 1 to 65535\n", err);
}

TEST_F(ConfigToolKeys, ReportsEachKindOfDamage)
{
    const std::tuple<const char*, const char*, const char*> damages[] = {
        {"range\t-1\t60000", "range\t-x\t60000",
         "\"delay\" has a range that is not two numbers of its type"},
        {"default\toldest", "defaulx\toldest", "\"order\" has no default"},
        {"key\tmask\tuint64\t"
         "run-time",
         "key\tmask\tuint64\t"
         "run+time",
         "\"mask\" changes neither at the start nor at run time"},
        {"key\thost\ttext\t", "key\thost\ttext.", "\"host\" has no type, or not when it changes"},
        {"key\ttotal\tint64\t", "key\tport\tuint32\t", "\"port\" is declared twice"},
        {"key\tmagic", "key\tma:ic", "\"ma:ic\" has a name that no file can have"}};
    for (const auto& [from, to, text] : damages)
    {
        patch(from, to);
    }
    EXPECT_EQ(0, know({"describe", "com.example.net", "--names"}));
    EXPECT_EQ("port\nactive\n", out);
    for (const auto& [from, to, text] : damages)
    {
        EXPECT_THAT(err, HasSubstr(kNote + text + '\n')) << text;
    }
}

TEST_F(ConfigToolKeys, ReportsANoteWithoutAnID)
{
    patch("\nid\tcom.example.net", "\nxd\tcom.example.net");
    EXPECT_EQ(0, know({"describe", "--names"}));
    EXPECT_EQ("com.example.ui\n", out);
    EXPECT_EQ("ixla-config: warning: plugins/libkeyed.so: its note about keys is damaged: it has "
              "no configuration ID\n",
              err);
}

TEST_F(ConfigToolKeys, AcceptsTypesOfANewerVersion)
{
    patch("key\tdelay\tint32", "key\tdelay\tfloat");
    EXPECT_EQ("", check("delay = 1.5\n"));
    EXPECT_EQ(0, know({"describe", "com.example.net"}));
    EXPECT_THAT(out, HasSubstr("    of a type that this tool does not know (ms); default: 100;"));
}

TEST_F(ConfigToolKeys, ShowsControlCharactersOfNotesInASafeForm)
{
    patch("TCP port", "TCP\x1b[7m;");
    EXPECT_EQ(0, know({"describe", "com.example.net"}));
    EXPECT_THAT(out, HasSubstr("port: TCP\\x1b[7m; of the server"));
}
