// SPDX-License-Identifier: MIT
#include "portinglayer/PFile.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace
{
constexpr unsigned int kWriteNew = PFile::eWrite | PFile::eNewText | PFile::eCreate;
using Lines = std::vector<std::string>;

class FileTest : public testing::Test
{
protected:
    std::vector<PString> readWide(const std::string& iName)
    {
        PFile file;
        EXPECT_EQ(0, file.popen(dir.wideFile(iName), PFile::eRead, 0));
        std::vector<PString> lines;
        PString line(L"unchanged");
        int res = 0;
        while ((res = file.preadLine(line)) == 0)
        {
            lines.push_back(line);
        }
        EXPECT_EQ(-61, res);
        EXPECT_EQ(0, file.pclose());
        return lines;
    }

    /// The lines of a file with the content iBytes.
    Lines linesOf(const std::string& iBytes)
    {
        dir.write("lines.txt", iBytes);
        return narrow(readWide("lines.txt"));
    }

    void writeWide(const std::vector<PString>& iLines, unsigned int iMode = kWriteNew)
    {
        PFile file;
        ASSERT_EQ(0, file.popen(dir.wideFile("out.txt"), iMode, 0644));
        for (const PString& line : iLines)
        {
            ASSERT_EQ(0, file.pwriteLine(line));
        }
        ASSERT_EQ(0, file.pclose());
    }

    /// Whether lines are read from a file as they were written.
    bool comeBack(const std::vector<PString>& iLines)
    {
        writeWide(iLines);
        return readWide("out.txt") == iLines;
    }

    int openNew(PFile& ioFile, const std::string& iName, unsigned int iAccess = 0)
    {
        return ioFile.popen(dir.wideFile(iName), kWriteNew, iAccess);
    }

    unsigned int modeOf(const std::string& iName)
    {
        struct stat status = {};
        EXPECT_EQ(0, ::stat(dir.file(iName).c_str(), &status));
        return status.st_mode & 07777u;
    }

    TempDir dir;
};

PString text(std::initializer_list<std::uint32_t> iChars)
{
    PString result;
    for (const std::uint32_t character : iChars)
    {
        const auto wideChar = static_cast<wchar_t>(character);
        result.cat(&wideChar, 1);
    }
    return result;
}

/// The descriptor of the open file iPath; -1 if it is not open.
int descriptorOf(const std::string& iPath)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path(), ignored) == iPath)
        {
            return std::stoi(entry.path().filename());
        }
    }
    return -1;
}

/// Opens a terminal in a session without one; 0 if the session still has none.
int takesTheTerminal(const char* iPath)
{
    PFile file;
    if (::setsid() < 0 || file.popen(wide(iPath), PFile::eRead, 0) != 0)
    {
        return 2;
    }
    return ::open("/dev/tty", O_RDONLY | O_CLOEXEC) < 0 && errno == ENXIO ? 0 : 1;
}

class Umask
{
public:
    explicit Umask(mode_t iMask) : fOld(::umask(iMask))
    {
    }

    ~Umask()
    {
        ::umask(fOld);
    }

private:
    mode_t fOld;
};
} // namespace

TEST_F(FileTest, LinesEndAtLineFeedOrCarriageReturnLineFeed)
{
    EXPECT_EQ((Lines{"a", "b", "", "c"}), linesOf("a\nb\r\n\r\nc\n"));
}

TEST_F(FileTest, LastLineWithoutAnEndCounts)
{
    EXPECT_EQ((Lines{"a", "b"}), linesOf("a\nb"));
    EXPECT_EQ((Lines{"a", ""}), linesOf("a\n\n"));
}

TEST_F(FileTest, EmptyFileHasNoLines)
{
    EXPECT_EQ(Lines{}, linesOf(""));
}

TEST_F(FileTest, CarriageReturnInsideALineIsText)
{
    dir.write("cr.txt", "a\rb\r\r\nc\r");

    EXPECT_EQ((std::vector<PString>{PString(L"a\rb\r"), PString(L"c\r")}), readWide("cr.txt"));
}

TEST_F(FileTest, ByteOrderMarkAtTheStartIsSkipped)
{
    EXPECT_EQ((Lines{"a", "b"}), linesOf("\xEF\xBB\xBF"
                                         "a\nb"));
    EXPECT_EQ(Lines{""}, linesOf("\xEF\xBB\xBF\n"));
    EXPECT_EQ(Lines{}, linesOf("\xEF\xBB\xBF"));
}

TEST_F(FileTest, ByteOrderMarkElsewhereIsText)
{
    dir.write("bom.txt", "\xEF\xBB\xBF\xEF\xBB\xBFx\n\xEF\xBB\xBFy\n");

    EXPECT_EQ((std::vector<PString>{PString(L"\uFEFFx"), PString(L"\uFEFFy")}),
              readWide("bom.txt"));
}

TEST_F(FileTest, IncompleteByteOrderMarkIsText)
{
    EXPECT_EQ(Lines{"\xEF\xBB"}, linesOf("\xEF\xBB"));
}

TEST_F(FileTest, TextIsUtf8InEveryLocale)
{
    dir.write("utf8.txt", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");

    EXPECT_EQ(std::vector<PString>{PString(L"\u00e4\u20ac\U0001f600")}, readWide("utf8.txt"));
}

TEST_F(FileTest, BytesThatAreNoUtf8SurviveReadingAndWriting)
{
    const std::string bytes = "key=\xFF\xFE\x80\n\xC3(\n\xED\xA0\x80\n";
    dir.write("in.txt", bytes);
    writeWide(readWide("in.txt"));

    EXPECT_EQ(bytes, dir.read("out.txt"));
}

TEST_F(FileTest, LinesOfAnyLengthAreRead)
{
    const std::string longLine(300000, 'x');
    const std::string bufferLine(16384, 'y');

    EXPECT_EQ((Lines{longLine, bufferLine, "z"}),
              linesOf(longLine + "\n" + bufferLine + "\r\n" + "z"));
}

TEST_F(FileTest, LinesOfAnyLengthAreWritten)
{
    const std::string longLine(300000, 'x');
    writeWide({wide("a"), wide(longLine), wide("b")});

    EXPECT_EQ("a\n" + longLine + "\nb\n", dir.read("out.txt"));
}

TEST_F(FileTest, LineEndsAtTheBufferBoundaryAreFound)
{
    for (std::size_t length = 16380; length < 16388; ++length)
    {
        const std::string line(length, 'x');
        EXPECT_EQ((Lines{line, "y"}), linesOf(line + "\r\ny\n")) << length;
    }
}

TEST_F(FileTest, ManyLinesAreReadBackInOrder)
{
    Lines expected;
    std::string bytes;
    for (int i = 0; i < 20000; ++i)
    {
        expected.push_back("key." + std::to_string(i) + "=value");
        bytes += expected.back() + "\n";
    }

    EXPECT_EQ(expected, linesOf(bytes));
}

TEST_F(FileTest, OrdinaryTextIsWrittenUnchanged)
{
    writeWide({wide("key=C:\\new\\r"), wide("\ttab \xC3\xA9")});

    EXPECT_EQ("key=C:\\new\\r\n\ttab \xC3\xA9\n", dir.read("out.txt"));
}

TEST_F(FileTest, LineBreaksAndZerosInsideATextRoundTrip)
{
    EXPECT_TRUE(comeBack(
        {PString(L"a\nb=c\r\nd\r"), PString(L"\0x\0", 3), PString(L"\n"), PString(L"\r")}));
    EXPECT_EQ(4, countLines(dir.file("out.txt"), ""));
}

TEST_F(FileTest, ByteOrderMarkAsTextAtTheStartRoundTrips)
{
    EXPECT_TRUE(comeBack({text({0xFEFF, 'a'}), text({0xFEFF, 'b'})}));
    EXPECT_TRUE(comeBack({text({0xDCEF, 0xDCBB, 0xDCBF})}));
    EXPECT_TRUE(comeBack({PString(), text({0xFEFF})}));
}

TEST_F(FileTest, AnySequenceOfCharactersRoundTrips)
{
    std::mt19937 random(17);
    const auto below = [&random](std::uint32_t iLimit)
    {
        return static_cast<std::uint32_t>(random() % iLimit);
    };
    std::vector<PString> lines;
    lines.reserve(2000);
    for (int i = 0; i < 2000; ++i)
    {
        lines.push_back(text({below(0x80), 0xDC80 + below(0x80), 0xDC80 + below(0x80), below(~0u),
                              below(0x110000), 0xD800 + below(0x800)}));
    }

    EXPECT_TRUE(comeBack(lines));
}

TEST_F(FileTest, WritingWithoutNewTextAppends)
{
    dir.write("out.txt", "old\n");
    writeWide({wide("new")}, PFile::eWrite);

    EXPECT_EQ("old\nnew\n", dir.read("out.txt"));
}

TEST_F(FileTest, NewTextStartsAtTheBeginningDespiteAnotherWriter)
{
    PFile file;
    ASSERT_EQ(0, openNew(file, "out.txt"));
    dir.write("out.txt", "of another writer\n");
    EXPECT_EQ(0, file.pwriteLine(L"new"));
    EXPECT_EQ(0, file.pclose());

    EXPECT_EQ("new\nnother writer\n", dir.read("out.txt"));
}

TEST_F(FileTest, AppendedByteOrderMarkIsText)
{
    dir.write("out.txt", "old\n");
    writeWide({text({0xFEFF})}, PFile::eRead | PFile::eWrite);

    EXPECT_EQ("old\n\xEF\xBB\xBF\n", dir.read("out.txt"));
}

TEST_F(FileTest, NewTextTruncatesTheFile)
{
    dir.write("out.txt", "a long old content\n");
    writeWide({wide("new")});

    EXPECT_EQ("new\n", dir.read("out.txt"));
}

TEST_F(FileTest, LinesReadAheadAreNotWrittenAgain)
{
    dir.write("both.txt", "one\ntwo\n");
    PFile file;
    PString line;
    ASSERT_EQ(0, file.popen(dir.wideFile("both.txt"), PFile::eRead | PFile::eWrite, 0));
    EXPECT_EQ(0, file.preadLine(line));
    EXPECT_EQ(0, file.pwriteLine(L"three"));
    EXPECT_EQ(-61, file.preadLine(line));
    EXPECT_EQ(0, file.pwriteLine(L"four"));
    EXPECT_EQ(0, file.pclose());

    EXPECT_EQ(PLiteral(L"one"), line);
    EXPECT_EQ("one\ntwo\nthree\nfour\n", dir.read("both.txt"));
}

TEST_F(FileTest, ReserveWhileReadingKeepsTheRemainingLines)
{
    dir.write("lines.txt", "first\nsecond\nthird\n");
    PFile file;
    PString line;
    ASSERT_EQ(0, file.popen(dir.wideFile("lines.txt"), PFile::eRead, 0));
    ASSERT_EQ(0, file.preadLine(line));

    ASSERT_EQ(0, file.reserve(100000));
    EXPECT_EQ(0, file.preadLine(line));
    EXPECT_EQ("second", narrow(line));
    EXPECT_EQ(0, file.preadLine(line));
    EXPECT_EQ("third", narrow(line));
}

TEST_F(FileTest, EndOfFileDoesNotChangeTheLine)
{
    dir.write("one.txt", "a\n");
    PFile file;
    PString line;
    ASSERT_EQ(0, file.popen(dir.wideFile("one.txt"), PFile::eRead, 0));
    EXPECT_EQ(0, file.preadLine(line));
    EXPECT_EQ(-61, file.preadLine(line));
    EXPECT_EQ(-61, file.preadLine(line));

    EXPECT_EQ(PLiteral(L"a"), line);
}

TEST_F(FileTest, MissingFileIsReported)
{
    PFile file;

    EXPECT_EQ(-2, file.popen(dir.wideFile("none.txt"), PFile::eRead, 0));
    EXPECT_EQ(-2, file.popen(dir.wideFile("none.txt"), PFile::eWrite | PFile::eNewText, 0));
    EXPECT_EQ(-9, file.pclose());
}

TEST_F(FileTest, PathThatIsTooLongIsRefused)
{
    const PString path = wide("/" + std::string(4095, 'x'));
    PFile file;

    EXPECT_EQ(-36, file.popen(path, PFile::eRead, 0));
    EXPECT_EQ(-36, PFile::pdelete(path));
    EXPECT_FALSE(PFile::exists(path));
}

TEST_F(FileTest, PathMayHaveAsManyBytesAsTheSystemTakes)
{
    // The last one stands for a byte that is no UTF-8.
    const std::pair<wchar_t, unsigned int> characters[] = {{L'a', 1},
                                                           {L'\u00E4', 2},
                                                           {L'\u20AC', 3},
                                                           {L'\U0001F600', 4},
                                                           {static_cast<wchar_t>(0xDCFF), 1}};
    for (const auto& [character, bytes] : characters)
    {
        PString path;
        unsigned int size = 0;
        for (; size + bytes + 1 < PATH_MAX; size += bytes + 1)
        {
            path.cat(&character, 1);
            path.cat(L"/", 1);
        }
        for (; size < PATH_MAX - 1; ++size)
        {
            path.cat(L"b", 1);
        }
        PFile file;
        EXPECT_EQ(-2, file.popen(path, PFile::eRead, 0)) << bytes;
        path.cat(L"b", 1);
        EXPECT_EQ(-36, file.popen(path, PFile::eRead, 0)) << bytes;
    }
}

TEST_F(FileTest, ModeWithoutReadingOrWritingIsRefused)
{
    PFile file;

    EXPECT_EQ(-22, file.popen(dir.wideFile("x"), PFile::eCreate | PFile::eNewText, 0));
    EXPECT_FALSE(PFile::exists(dir.wideFile("x")));
}

TEST_F(FileTest, PathWithZeroIsRefused)
{
    PString path = dir.wideFile("x");
    path.cat(L"\0y", 2);
    PFile file;

    EXPECT_EQ(-22, file.popen(path, kWriteNew, 0));
    EXPECT_EQ(-22, PFile::pdelete(path));
    EXPECT_FALSE(PFile::exists(path));
}

TEST_F(FileTest, DirectoryIsRefused)
{
    PFile file;

    EXPECT_EQ(-21, file.popen(wide(dir.path().string()), PFile::eRead, 0));
    EXPECT_EQ(-21, file.popen(wide(dir.path().string()), PFile::eWrite, 0));
    EXPECT_EQ(-1, descriptorOf(dir.path().string()));
}

TEST_F(FileTest, SecondOpenIsRefused)
{
    PFile file;
    ASSERT_EQ(0, openNew(file, "one.txt"));

    EXPECT_EQ(-16, openNew(file, "two.txt"));
    EXPECT_EQ(0, file.pclose());
    EXPECT_EQ(0, openNew(file, "two.txt"));
}

TEST_F(FileTest, ClosedFileIsReported)
{
    PFile file;
    PString line(L"same");

    EXPECT_EQ(-9, file.preadLine(line));
    EXPECT_EQ(-9, file.pwriteLine(L"x"));
    EXPECT_EQ(-9, file.pclose());
    EXPECT_EQ(PLiteral(L"same"), line);
}

TEST_F(FileTest, WrongDirectionIsReported)
{
    PFile file;
    PString line;
    ASSERT_EQ(0, openNew(file, "out.txt"));
    EXPECT_EQ(-9, file.preadLine(line));
    ASSERT_EQ(0, file.pclose());
    ASSERT_EQ(0, file.popen(dir.wideFile("out.txt"), PFile::eRead, 0));
    EXPECT_EQ(-9, file.pwriteLine(L"x"));
}

TEST_F(FileTest, WriteErrorIsKeptForClose)
{
    PFile file;
    ASSERT_EQ(0, file.popen(L"/dev/full", PFile::eWrite, 0));
    EXPECT_EQ(0, file.pwriteLine(L"buffered"));

    EXPECT_EQ(-28, file.pclose());
}

TEST_F(FileTest, FirstWriteErrorEndsWriting)
{
    PFile file;
    ASSERT_EQ(0, file.popen(L"/dev/full", PFile::eWrite, 0));
    const PString line = wide(std::string(10000, 'x'));
    int res = 0;
    for (int i = 0; i < 10 && res == 0; ++i)
    {
        res = file.pwriteLine(line);
    }

    EXPECT_EQ(-28, res);
    EXPECT_EQ(-28, file.pwriteLine(L"x"));
    EXPECT_EQ(-28, file.pclose());
}

TEST_F(FileTest, NextFileClearsTheWriteError)
{
    PFile file;
    ASSERT_EQ(0, file.popen(L"/dev/full", PFile::eWrite, 0));
    EXPECT_EQ(0, file.pwriteLine(L"lost"));
    EXPECT_EQ(-28, file.pclose());
    ASSERT_EQ(0, openNew(file, "next.txt"));
    EXPECT_EQ(0, file.pwriteLine(L"kept"));
    EXPECT_EQ(0, file.pclose());

    EXPECT_EQ("kept\n", dir.read("next.txt"));
}

TEST_F(FileTest, DestructorWritesTheBuffer)
{
    {
        PFile file;
        ASSERT_EQ(0, openNew(file, "out.txt"));
        ASSERT_EQ(0, file.pwriteLine(L"x"));
    }

    EXPECT_EQ("x\n", dir.read("out.txt"));
}

TEST_F(FileTest, CreatedFileHasTheModeWithoutTheUmask)
{
    const Umask mask(0027);
    PFile file;
    ASSERT_EQ(0, openNew(file, "default"));
    ASSERT_EQ(0, file.pclose());
    ASSERT_EQ(0, openNew(file, "open", 0666));

    EXPECT_EQ(0600u, modeOf("default"));
    EXPECT_EQ(0640u, modeOf("open"));
}

TEST_F(FileTest, FilesAreClosedInOtherPrograms)
{
    PFile file;
    ASSERT_EQ(0, openNew(file, "out.txt"));
    const int descriptor = descriptorOf(dir.file("out.txt"));

    ASSERT_GE(descriptor, 0);
    EXPECT_NE(0, ::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
}

TEST_F(FileTest, OpenedTerminalDoesNotBecomeTheControllingTerminal)
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char path[64];
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0 ||
        ::ptsname_r(master, path, sizeof path) != 0)
    {
        GTEST_SKIP() << "no pseudo terminal: " << std::strerror(errno);
    }
    const pid_t child = ::fork();
    if (child == 0)
    {
        _exit(takesTheTerminal(path));
    }
    int status = -1;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    ::close(master);

    EXPECT_EQ(0, status);
}

TEST_F(FileTest, NumbersOfTheStandardStreamsAreNeitherUsedNorInherited)
{
    const int kept = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    PFile file;
    const int res = openNew(file, "out.txt");
    const int descriptor = descriptorOf(dir.file("out.txt"));
    const int flags = ::fcntl(descriptor, F_GETFD);
    const int taken = ::fcntl(STDIN_FILENO, F_GETFD);
    ::dup2(kept, STDIN_FILENO);
    ::close(kept);

    EXPECT_EQ(0, res);
    EXPECT_GT(descriptor, STDERR_FILENO);
    EXPECT_EQ(FD_CLOEXEC, flags);
    EXPECT_EQ(-1, taken);
}

TEST_F(FileTest, PartsOfALineThatArriveLateBelongToIt)
{
    const std::string path = dir.file("fifo");
    ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
    std::thread writer(
        [&path]
        {
            const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
            for (const char* part : {"a\xC3", "\xA9", "b\r", "\nlast"})
            {
                EXPECT_LT(0, ::write(descriptor, part, strlen(part)));
                std::this_thread::yield();
            }
            ::close(descriptor);
        });
    const std::vector<PString> lines = readWide("fifo");
    writer.join();

    EXPECT_EQ((Lines{"a\xC3\xA9"
                     "b",
                     "last"}),
              narrow(lines));
}

TEST_F(FileTest, PathMayContainAnyBytes)
{
    dir.write("\xFF\xC3\xA9\nx", "content\n");

    PFile file;
    PString path = wide(dir.path().string());
    path += text({'/', 0xDCFF, 0xE9, '\n', 'x'});
    EXPECT_TRUE(PFile::exists(path));
    EXPECT_EQ(0, file.popen(path, PFile::eRead, 0));
}

TEST_F(FileTest, ReducesAPathToItsFileName)
{
    const struct
    {
        const wchar_t* path;
        const wchar_t* name;
    } rows[] = {
        {L"/a/b/c.so", L"c.so"}, {L"c.so", L"c.so"}, {L"/a/", L""}, {L"", L""}, {L"/x", L"x"}};
    for (const auto& row : rows)
    {
        PString path(row.path);
        PFile::getFileName(path);
        EXPECT_EQ(PLiteral(row.name), path) << narrow(row.path);
    }
}

TEST_F(FileTest, FilesOfAnyKindExist)
{
    dir.write("file", "");

    EXPECT_TRUE(PFile::exists(dir.wideFile("file")));
    EXPECT_TRUE(PFile::exists(wide(dir.path().string())));
    EXPECT_FALSE(PFile::exists(dir.wideFile("none")));
    EXPECT_FALSE(PFile::exists(L""));
}

TEST_F(FileTest, DeletesAFile)
{
    dir.write("file", "");

    EXPECT_EQ(0, PFile::pdelete(dir.wideFile("file")));
    EXPECT_FALSE(PFile::exists(dir.wideFile("file")));
    EXPECT_EQ(-2, PFile::pdelete(dir.wideFile("file")));
}

TEST_F(FileTest, DirectoryIsNotDeleted)
{
    EXPECT_EQ(-21, PFile::pdelete(wide(dir.path().string())));
}
