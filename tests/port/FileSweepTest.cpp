// SPDX-License-Identifier: MIT
#include "support/FileSweep.h"
#include "portinglayer/PDir.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PProcess.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace
{
template <class TScenario>
std::unique_ptr<FileScenario> _make()
{
    return std::make_unique<TScenario>();
}

/// Lines that need several reads and writes.
std::vector<std::string> _lines()
{
    return {"first", std::string(40000, 'x'), "", "last"};
}

std::string _text(const std::vector<std::string>& iLines)
{
    std::string text;
    for (const std::string& line : iLines)
    {
        text += line + '\n';
    }
    return text;
}

/// Whether iWhole starts with iPart.
bool _begins(const std::string& iWhole, const std::string& iPart)
{
    return iWhole.compare(0, iPart.size(), iPart) == 0;
}

/// Reads all lines. The lines read so far must be correct, also after a failure.
class Reading : public FileScenario
{
public:
    Reading() : fPath(fDir.write("in.txt", _text(_lines())))
    {
    }

    int operate() override
    {
        fRead.clear();
        PFile file;
        int result = file.popen(wide(fPath), PFile::eRead, 0);
        if (result != 0)
        {
            return result;
        }
        PString line;
        while ((result = file.preadLine(line)) == 0)
        {
            fRead.push_back(narrow(line));
        }
        const int closed = file.pclose();
        return result != -ENODATA ? result : closed;
    }

    std::string examine(const FilePoint& iPoint, int) override
    {
        const bool isRight =
            iPoint.isHarmless() ? fRead == _lines() : _begins(_text(_lines()), _text(fRead));
        return isRight ? "" : "other lines";
    }

    std::string examineRepeated() override
    {
        return fRead == _lines() ? "" : "other lines";
    }

protected:
    TempDir fDir;
    const std::string fPath;
    std::vector<std::string> fRead;
};

/// Continues to read after a failure; no line may be lost.
class ReadingOn : public Reading
{
public:
    int operate() override
    {
        fRead.clear();
        PFile file;
        const int result = file.popen(wide(fPath), PFile::eRead, 0);
        PString line;
        int failures = 0;
        while (result == 0 && failures < 2)
        {
            if (file.preadLine(line) == 0)
            {
                fRead.push_back(narrow(line));
            }
            else
            {
                ++failures;
            }
        }
        return result;
    }

    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        return FileScenario::admits(iPoint, iResult) || iPoint.is(FileFaults::read) ||
               iPoint.is(FileFaults::close);
    }

    std::string examine(const FilePoint& iPoint, int iResult) override
    {
        return iResult != 0 || iPoint.lasts || fRead == _lines() ? "" : "other lines";
    }
};

/// Writes lines, appended to existing ones or to a new file.
template <unsigned int tMode>
class Writing : public FileScenario
{
public:
    Writing() : fPath(fDir.write("out.txt", "old\n"))
    {
    }

    int operate() override
    {
        PFile file;
        const int opened = file.popen(wide(fPath), tMode, 0);
        if (opened != 0)
        {
            return opened;
        }
        int result = 0;
        for (const std::string& line : _lines())
        {
            const int written = file.pwriteLine(wide(line));
            result = result != 0 ? result : written;
        }
        const int closed = file.pclose();
        return result != 0 ? result : closed;
    }

    std::string examine(const FilePoint& iPoint, int) override
    {
        const std::string left = readFile(fPath);
        const bool isRight = iPoint.isHarmless() ? left == whole() : mayBeLeft(left);
        return isRight ? "" : std::to_string(left.size()) + " bytes";
    }

    int repeat() override
    {
        fs::remove(fPath);
        return operate();
    }

    std::string examineRepeated() override
    {
        return readFile(fPath) == _text(_lines()) ? "" : "another text";
    }

private:
    static constexpr bool kEmpties = (tMode & PFile::eNewText) != 0;

    static std::string whole()
    {
        return (kEmpties ? "" : "old\n") + _text(_lines());
    }

    static bool mayBeLeft(const std::string& iText)
    {
        return _begins(whole(), iText) || iText == "old\n";
    }

    TempDir fDir;
    const std::string fPath;
};

typedef Writing<PFile::eWrite | PFile::eNewText | PFile::eCreate> WritingAnew;
typedef Writing<PFile::eWrite | PFile::eCreate> Appending;

class Deleting : public FileScenario
{
public:
    Deleting()
    {
        fDir.write("file", "");
    }

    int operate() override
    {
        return PFile::pdelete(fDir.wideFile("file"));
    }

    std::string examine(const FilePoint&, int iResult) override
    {
        const bool isThere = fs::exists(fDir.file("file"));
        fDir.write("file", "");
        return isThere == (iResult != 0) ? "" : "file";
    }

private:
    TempDir fDir;
};

/// A file whose state cannot be read counts as missing.
class Looking : public FileScenario
{
public:
    Looking()
    {
        fDir.write("file", "");
    }

    int operate() override
    {
        return PFile::exists(fDir.wideFile("file")) ? 0 : -1;
    }

    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        return iResult == (iPoint.isHarmless() ? 0 : -1);
    }

private:
    TempDir fDir;
};

/// Lists a directory with links, whose targets must be examined.
class Listing : public FileScenario
{
public:
    Listing()
    {
        fDir.write("a.so", "");
        fs::create_symlink(fDir.file("a.so"), fDir.file("b.so"));
        fs::create_directory(fDir.file("d.so"));
    }

    int operate() override
    {
        PDir dir(fDir.wideFile(""), L"*.so");
        const int result = dir.preaddir();
        fNames.clear();
        for (; dir == 0; ++dir)
        {
            fNames.push_back(narrow(dir.getEntry()));
        }
        return result;
    }

    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        return FileScenario::admits(iPoint, iResult) ||
               (iPoint.is(FileFaults::state) && iResult == 0);
    }

    std::string examine(const FilePoint&, int iResult) override
    {
        const std::vector<std::string> all{"a.so", "b.so"};
        return iResult == 0 ? (fNames == all ? "" : "other names")
                            : (fNames.empty() ? "" : "names");
    }

    std::string examineRepeated() override
    {
        return examine({}, 0);
    }

private:
    TempDir fDir;
    std::vector<std::string> fNames;
};

class Weighing : public FileScenario
{
public:
    int operate() override
    {
        fBytes = 7;
        return PProcess::getMemoryUsage(PProcess::getCurrentPID(), fBytes);
    }

    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        // Nothing is written, so an error of closing does not matter.
        const bool isIgnored = iPoint.is(FileFaults::close);
        return iResult == (isIgnored || iPoint.isHarmless() ? 0 : -iPoint.error);
    }

    std::string examine(const FilePoint&, int iResult) override
    {
        return (iResult == 0) == (fBytes > 7) ? "" : std::to_string(fBytes);
    }

private:
    unsigned long long fBytes = 0;
};

/// Wrong operations, with one error each.
class WrongWriting : public FileScenario
{
public:
    int operate() override
    {
        const int handle = ::open(fDir.file("out.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (handle < 0)
        {
            return -errno;
        }
        const int result = write(handle);
        ::close(handle);
        return result;
    }

    std::string examine(const FilePoint& iPoint, int) override
    {
        return !iPoint.isHarmless() || readFile(fDir.file("out.txt")) == kText ? "" : "lost bytes";
    }

protected:
    virtual int write(int iHandle) = 0;

    static constexpr char kText[] = "all of this";
    TempDir fDir;
};

class IgnoresShortWrite : public WrongWriting
{
    int write(int iHandle) override
    {
        ssize_t written = 0;
        do
        {
            written = ::write(iHandle, kText, sizeof kText - 1);
        } while (written < 0 && errno == EINTR);
        return written < 0 ? -errno : 0;
    }
};

class SwallowsFailure : public WrongWriting
{
    int write(int iHandle) override
    {
        std::size_t done = 0;
        while (done < sizeof kText - 1)
        {
            const ssize_t written = ::write(iHandle, kText + done, sizeof kText - 1 - done);
            if (written < 0 && errno != EINTR)
            {
                break;
            }
            done += written < 0 ? 0 : static_cast<std::size_t>(written);
        }
        return 0;
    }
};

class LeaksDescriptor : public FileScenario
{
public:
    LeaksDescriptor()
    {
        fDir.write("in.txt", "text");
    }

    int operate() override
    {
        const int handle = ::open(fDir.file("in.txt").c_str(), O_RDONLY);
        char byte = 0;
        if (handle < 0 || ::read(handle, &byte, 1) < 0)
        {
            return -errno;
        }
        return ::close(handle) == 0 ? 0 : -errno;
    }

private:
    TempDir fDir;
};

/// Sweeps and requires that there was no problem and that these kinds of calls failed.
template <class TScenario>
void _sweep(const char* iName, const std::vector<const FileFault*>& iCalls)
{
    FileSweep sweep(iName, &_make<TScenario>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    for (const FileFault* call : iCalls)
    {
        EXPECT_GE(sweep.points(*call), 9) << call->name();
    }
}

template <class TScenario>
std::vector<std::string> _findings(const char* iName)
{
    return FileSweep(iName, &_make<TScenario>).run();
}
} // namespace

TEST(PortFileSweep, ReadingReportsEveryFailure)
{
    _sweep<Reading>("PFile read",
                    {&FileFaults::open, &FileFaults::state, &FileFaults::read, &FileFaults::close});
}

TEST(PortFileSweep, ReadingContinuesAfterAFailure)
{
    _sweep<ReadingOn>("PFile read on", {&FileFaults::read});
}

TEST(PortFileSweep, RewritingReportsEveryFailure)
{
    _sweep<WritingAnew>("PFile write new", {&FileFaults::open, &FileFaults::state,
                                            &FileFaults::write, &FileFaults::close});
}

TEST(PortFileSweep, AppendingReportsEveryFailure)
{
    _sweep<Appending>("PFile append", {&FileFaults::open, &FileFaults::state, &FileFaults::write,
                                       &FileFaults::close});
}

TEST(PortFileSweep, DeletingReportsEveryFailure)
{
    _sweep<Deleting>("PFile::pdelete", {&FileFaults::unlink});
}

TEST(PortFileSweep, FileWithoutStatusCountsAsMissing)
{
    _sweep<Looking>("PFile::exists", {&FileFaults::access});
}

TEST(PortFileSweep, ListingReportsEveryFailure)
{
    _sweep<Listing>("PDir::preaddir",
                    {&FileFaults::openDir, &FileFaults::readDir, &FileFaults::state});
}

TEST(PortFileSweep, MemoryUsageReportsEveryFailure)
{
    _sweep<Weighing>("PProcess::getMemoryUsage", {&FileFaults::open, &FileFaults::read});
}

TEST(PortFileSweep, DetectsAnIgnoredShortWrite)
{
    EXPECT_THAT(_findings<IgnoresShortWrite>("wrong"),
                Contains(AllOf(HasSubstr("write 1 short"), HasSubstr("leaves: lost bytes"))));
}

TEST(PortFileSweep, DetectsAnIgnoredFailure)
{
    EXPECT_THAT(_findings<SwallowsFailure>("wrong"),
                Contains(AllOf(HasSubstr("write 1 EIO"), HasSubstr("returns 0"))));
}

TEST(PortFileSweep, DetectsALeakedDescriptor)
{
    EXPECT_THAT(_findings<LeaksDescriptor>("wrong"),
                Contains(AllOf(HasSubstr("read 1 EIO"), HasSubstr("leaks a descriptor for good"))));
}

TEST(PortFileSweep, DetectsAnInterruptedCallThatIsNotRepeated)
{
    EXPECT_THAT(_findings<LeaksDescriptor>("wrong"),
                Contains(AllOf(HasSubstr("read 1 EINTR"), HasSubstr("returns -4"))));
}
