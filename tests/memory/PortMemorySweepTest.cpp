// SPDX-License-Identifier: MIT
// Sweeps of the operations of the porting layer and of the smart pointers.

#include "IBase.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PDir.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PLibrary.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PProcess.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PTime.h"
#include "portinglayer/PUtils.h"
#include "support/AllocationSweep.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <optional>

namespace
{
const std::string sLong(300, 'x');
const std::string sExactRoom = "a text that has to grow makes do with the exact room";

/// For operations that are documented to throw: converts the exception to a result.
int _caught(const std::function<void()>& iAction)
{
    try
    {
        iAction();
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return -ENOMEM;
    }
}

void _sweep(const std::string& iOperation, const std::function<int()>& iRun)
{
    sweepAllocations({.operation = iOperation, .run = iRun, .codes = {-ENOMEM}});
}

class TextMemorySweep : public testing::Test
{
protected:
    /// An operation iRun on a text "old", which becomes iAfter.
    void sweep(const std::string& iOperation, const std::function<int()>& iRun,
               const PLiteral& iAfter)
    {
        sweepAllocations({.operation = iOperation,
                          .before = [&] { text.emplace(L"old"); },
                          .run = iRun,
                          .unchanged = [&] { EXPECT_EQ(PLiteral(L"old"), *text); },
                          .done = [&] { EXPECT_EQ(iAfter, *text); },
                          .undo = [&] { text.reset(); },
                          .codes = {-ENOMEM},
                          .spares = sExactRoom});
    }

    std::optional<PString> text;
    const PString value = wide(sLong);
    const PString longer = wide("old" + sLong);
};

class FileMemorySweep : public testing::Test
{
protected:
    TempDir dir;
    std::optional<PFile> file;
};

struct Counted : IBase
{
    virtual ~Counted() = default;

    int incRef() override
    {
        return ++references;
    }

    int decRef() override
    {
        const int left = --references;
        if (left == 0)
        {
            delete this;
        }
        return left;
    }

    int references = 0;
};
} // namespace

TEST_F(TextMemorySweep, Changes)
{
    sweep(
        "PString::set", [&] { return text->set(value); }, value);
    sweep(
        "PString::cat", [&] { return text->cat(value); }, longer);
    sweep(
        "PString::set of characters", [&] { return text->set(value.ptr()); }, value);
    sweep(
        "PString::cat of characters", [&] { return text->cat(value.ptr()); }, longer);
    sweep(
        "PString::reserve", [&] { return text->reserve(100); }, PLiteral(L"old"));
    sweep(
        "PString::operator=", [&] { return _caught([&] { *text = value; }); }, value);
    sweep(
        "PString::operator+=", [&] { return _caught([&] { *text += value; }); }, longer);
    sweep(
        "PString::PString", [&] { return _caught([&] { const PString copy(value); }); },
        PLiteral(L"old"));
}

TEST_F(TextMemorySweep, Conversions)
{
    const unsigned char bytes[] = {1, 0xab};
    sweep(
        "PUtils::int32ToStr", [&] { return PUtils::int32ToStr(-123456, *text); },
        PLiteral(L"-123456"));
    sweep(
        "PUtils::uint32ToStr", [&] { return PUtils::uint32ToStr(123456, *text); },
        PLiteral(L"123456"));
    sweep(
        "PUtils::int64ToStr", [&] { return PUtils::int64ToStr(-123456, *text); },
        PLiteral(L"-123456"));
    sweep(
        "PUtils::uint64ToStr", [&] { return PUtils::uint64ToStr(123456, *text); },
        PLiteral(L"123456"));
    sweep(
        "PUtils::boolToStr", [&] { return PUtils::boolToStr(false, *text); }, PLiteral(L"false"));
    sweep(
        "PUtils::binaryToStr", [&] { return PUtils::binaryToStr(bytes, 2, *text); },
        PLiteral(L"01ab"));
    sweep(
        "PUtils::pformatString",
        [&] { return PUtils::pformatString(*text, L"old%ls", value.ptr()); }, longer);
    sweep(
        "PUtils::pformatString of a short text",
        [&] { return PUtils::pformatString(*text, L"%d", 123456); }, PLiteral(L"123456"));
}

TEST_F(TextMemorySweep, Numbers)
{
    int int32 = 0;
    unsigned int uint32 = 0;
    long long int64 = 0;
    unsigned long long uint64 = 0;
    bool truth = false;
    _sweep("PUtils::strToInt32", [&] { return PUtils::strToInt32(L"1", int32); });
    _sweep("PUtils::strToUint32", [&] { return PUtils::strToUint32(L"1", uint32); });
    _sweep("PUtils::strToInt64", [&] { return PUtils::strToInt64(L"1", int64); });
    _sweep("PUtils::strToUint64", [&] { return PUtils::strToUint64(L"1", uint64); });
    _sweep("PUtils::strToBool", [&] { return PUtils::strToBool(L"on", truth); });
}

TEST_F(TextMemorySweep, Bytes)
{
    unsigned char* data = nullptr;
    unsigned int size = 7;
    sweepAllocations({.operation = "PUtils::strToBinary",
                      .run = [&] { return PUtils::strToBinary(L"0a", data, size); },
                      .unchanged =
                          [&]
                      {
                          EXPECT_EQ(nullptr, data);
                          EXPECT_EQ(7u, size);
                      },
                      .done = [&] { EXPECT_EQ(1u, size); },
                      .undo =
                          [&]
                      {
                          delete[] data;
                          data = nullptr;
                          size = 7;
                      },
                      .codes = {-ENOMEM}});
}

TEST_F(TextMemorySweep, Parts)
{
    const PLiteral source(L" a token that needs room, next");
    std::optional<PString> list;
    sweepAllocations({.operation = "PLiteral::getNextToken",
                      .before =
                          [&]
                      {
                          list.emplace(source);
                          text.emplace(L"old");
                      },
                      .run = [&] { return PLiteral::getNextToken(*list, *text, L','); },
                      .unchanged =
                          [&]
                      {
                          EXPECT_EQ(source, *list);
                          EXPECT_EQ(PLiteral(L"old"), *text);
                      },
                      .done = [&] { EXPECT_EQ(PLiteral(L"a token that needs room"), *text); },
                      .undo =
                          [&]
                      {
                          list.reset();
                          text.reset();
                      },
                      .codes = {-ENOMEM}});
}

TEST_F(TextMemorySweep, Pairs)
{
    std::optional<PString> second;
    sweepAllocations(
        {.operation = "PUtils::getKeyValue",
         .before =
             [&]
         {
             text.emplace(L"k");
             second.emplace(L"v");
         },
         .run = [&]
         { return PUtils::getKeyValue(L"a long key = a long value", *text, *second, L'='); },
         .unchanged =
             [&]
         {
             EXPECT_EQ(PLiteral(L"k"), *text);
             EXPECT_EQ(PLiteral(L"v"), *second);
         },
         .done =
             [&]
         {
             EXPECT_EQ(PLiteral(L"a long key"), *text);
             EXPECT_EQ(PLiteral(L"a long value"), *second);
         },
         .undo =
             [&]
         {
             text.reset();
             second.reset();
         },
         .codes = {-ENOMEM},
         .spares = sExactRoom});
}

TEST_F(TextMemorySweep, Paths)
{
    sweep(
        "PLibrary::fixLibName", [&] { return PLibrary::fixLibName(*text); },
        PLiteral(L"libold.so"));
    _sweep("PUtils::fixFileSeparator",
           []
           {
               PShortString<10> path;
               path = L"a\\b";
               PUtils::fixFileSeparator(path);
               return path == L"a/b" ? 0 : -1;
           });
    _sweep("PFile::getFileName",
           []
           {
               PShortString<10> path;
               path = L"a/b";
               PFile::getFileName(path);
               return path == L"b" ? 0 : -1;
           });
}

TEST_F(FileMemorySweep, Opening)
{
    const PString path = dir.wideFile("file.txt");
    sweepAllocations({.operation = "PFile::popen",
                      .before = [&] { file.emplace(); },
                      .run = [&] { return file->popen(path, PFile::eWrite | PFile::eCreate, 0); },
                      .done = [&] { EXPECT_TRUE(PFile::exists(path)); },
                      .undo = [&] { file.reset(); },
                      .codes = {-ENOMEM}});
    _sweep("PFile::exists", [&] { return PFile::exists(path) ? 0 : -1; });
    sweepAllocations({
        .operation = "PFile::pdelete",
        .before = [&] { dir.write("file.txt", ""); },
        .run = [&] { return PFile::pdelete(path); },
    });
}

// The next attempt reads a line that could not be read.
TEST_F(FileMemorySweep, Reading)
{
    const std::string bytes(20000, 'x');
    const PString path = wide(dir.write("in.txt", bytes + "\nnext\n"));
    std::optional<PString> line;
    sweepAllocations({.operation = "PFile::preadLine",
                      .before =
                          [&]
                      {
                          file.emplace();
                          ASSERT_EQ(0, file->popen(path, PFile::eRead, 0));
                          line.emplace(L"same");
                      },
                      .run = [&] { return file->preadLine(*line); },
                      .unchanged = [&] { EXPECT_EQ(PLiteral(L"same"), *line); },
                      .done = [&] { EXPECT_EQ(bytes, narrow(*line)); },
                      .undo =
                          [&]
                      {
                          EXPECT_EQ(0, file->preadLine(*line));
                          EXPECT_EQ(PLiteral(L"next"), *line);
                          file.reset();
                          line.reset();
                      },
                      .codes = {-ENOMEM}});
}

// A line that could not be written has no effect.
TEST_F(FileMemorySweep, Writing)
{
    const PString path = dir.wideFile("out.txt");
    const PString line = wide(std::string(20000, 'x'));
    const auto open = [&]
    {
        file.emplace();
        const unsigned int mode = PFile::eWrite | PFile::eNewText | PFile::eCreate;
        ASSERT_EQ(0, file->popen(path, mode, 0));
    };
    sweepAllocations({.operation = "PFile::pwriteLine",
                      .before =
                          [&]
                      {
                          open();
                          ASSERT_EQ(0, file->pwriteLine(L"first"));
                      },
                      .run = [&] { return file->pwriteLine(line); },
                      .undo =
                          [&]
                      {
                          EXPECT_EQ(0, file->pclose());
                          EXPECT_EQ("first\n" + narrow(line) + "\n", dir.read("out.txt"));
                          file.reset();
                      },
                      .codes = {-ENOMEM}});
    sweepAllocations({.operation = "PFile::reserve",
                      .before = open,
                      .run = [&] { return file->reserve(20000); },
                      .undo = [&] { file.reset(); },
                      .codes = {-ENOMEM}});
    sweepAllocations({
        .operation = "PFile::pclose",
        .before =
            [&]
        {
            open();
            ASSERT_EQ(0, file->pwriteLine(line));
        },
        .run = [&] { return file->pclose(); },
        .undo = [&] { file.reset(); },
    });
}

TEST_F(FileMemorySweep, Directories)
{
    dir.write("a name that is longer than the text that a string keeps in itself", "");
    dir.write("b", "");
    const PString path = wide(dir.path().string());
    std::optional<PDir> listing;
    sweepAllocations({.operation = "PDir::PDir",
                      .run = [&] { return _caught([&] { listing.emplace(path, L"*"); }); },
                      .undo = [&] { listing.reset(); },
                      .codes = {-ENOMEM}});
    sweepAllocations({.operation = "PDir::preaddir",
                      .before = [&] { listing.emplace(path, L"*"); },
                      .run = [&] { return listing->preaddir(); },
                      .unchanged = [&] { EXPECT_TRUE(*listing == 1); },
                      .done =
                          [&]
                      {
                          EXPECT_TRUE(*listing == 0);
                          EXPECT_TRUE(++*listing == 0);
                          EXPECT_EQ(PLiteral(L"b"), listing->getEntry());
                      },
                      .undo = [&] { listing.reset(); },
                      .codes = {-ENOMEM}});
}

TEST_F(FileMemorySweep, Libraries)
{
    const PString path = wide(IXLAL_TEST_LIBRARY);
    PLibrary* library = nullptr;
    const auto close = [&]
    {
        delete library;
        library = nullptr;
    };
    // The loader reports the same for lack of memory and for a file that is no library.
    sweepAllocations({.operation = "PLibrary::load",
                      .run = [&] { return PLibrary::load(path, library, true); },
                      .unchanged = [&] { EXPECT_EQ(nullptr, library); },
                      .done = [&] { EXPECT_NE(nullptr, library->getFunction("testAnswer")); },
                      .undo = close,
                      .codes = {-ENOMEM, -ENOEXEC},
                      .spares = "the loader makes do without some of its tables"});
    ASSERT_EQ(0, PLibrary::load(path, library, true));
    _sweep("PLibrary::getFunction", [&] { return library->getFunction("testAnswer") ? 0 : -1; });
    close();
    EXPECT_EQ(-2, PLibrary::load(L"/nowhere/libnone.so", library, true));
    std::optional<PString> reason;
    sweepAllocations({.operation = "PLibrary::getLoadError",
                      .before = [&] { reason.emplace(); },
                      .run = [&] { return PLibrary::getLoadError(*reason); },
                      .done = [&] { EXPECT_NE(0u, reason->len()); },
                      .undo = [&] { reason.reset(); },
                      .codes = {-ENOMEM}});
}

TEST(LockMemorySweep, Mutex)
{
    std::optional<PMutex> mutex;
    const auto open = [&]
    {
        mutex.emplace();
        ASSERT_EQ(0, mutex->init(true));
    };
    _sweep("PMutex::init",
           [&]
           {
               mutex.emplace();
               return mutex->init(true);
           });
    open();
    // The analysis is off in these four: it refuses a function that only locks or only unlocks.
    sweepAllocations({
        .operation = "PMutex::lock",
        .run = [&]() IXLA_NO_THREAD_SAFETY_ANALYSIS { return mutex->lock(); },
        .undo = [&]() IXLA_NO_THREAD_SAFETY_ANALYSIS { EXPECT_EQ(0, mutex->unlock()); },
    });
    sweepAllocations({
        .operation = "PMutex::unlock",
        .before = [&]() IXLA_NO_THREAD_SAFETY_ANALYSIS { EXPECT_EQ(0, mutex->lock()); },
        .run = [&]() IXLA_NO_THREAD_SAFETY_ANALYSIS { return mutex->unlock(); },
    });
    sweepAllocations({
        .operation = "PMutex::close",
        .before = open,
        .run = [&] { return mutex->close(); },
    });
}

TEST(LockMemorySweep, ConditionalVar)
{
    PMutex mutex;
    ASSERT_EQ(0, mutex.init(true));
    ASSERT_EQ(0, mutex.lock());
    std::optional<PConditionalVar> condition;
    const auto open = [&]
    {
        condition.emplace();
        ASSERT_EQ(0, condition->init());
    };
    _sweep("PConditionalVar::init",
           [&]
           {
               condition.emplace();
               return condition->init();
           });
    open();
    _sweep("PConditionalVar::notifyAll", [&] { return condition->notifyAll(); });
    _sweep("PConditionalVar::wait",
           [&] { return condition->wait(&mutex, 1) == PConditionalVar::eTimeout ? 0 : -1; });
    sweepAllocations({
        .operation = "PConditionalVar::close",
        .before = open,
        .run = [&] { return condition->close(); },
    });
    EXPECT_EQ(0, mutex.unlock());
}

TEST(ThreadMemorySweep, EveryOperation)
{
    keepNoThreadMemory();
    std::optional<PThread> thread;
    void* result = nullptr;
    const auto start = [&]
    {
        return thread->pcreate([](void* iArgument) { return iArgument; }, &result);
    };
    sweepAllocations({.operation = "PThread::pcreate",
                      .before = [&] { thread.emplace(); },
                      .run = start,
                      .undo = [&] { EXPECT_EQ(0, thread->pjoin(result)); },
                      .codes = {-EAGAIN, -ENOMEM}});
    sweepAllocations({
        .operation = "PThread::pjoin",
        .before =
            [&]
        {
            thread.emplace();
            ASSERT_EQ(0, start());
        },
        .run = [&] { return thread->pjoin(result); },
    });
    _sweep("PThread::psleep",
           []
           {
               PThread::psleep(1);
               return PThread::getCurrentThreadId() != 0 ? 0 : -1;
           });
}

TEST(ProcessMemorySweep, EveryOperation)
{
    unsigned long long bytes = 0;
    _sweep("PProcess::getMemoryUsage",
           [&] { return PProcess::getMemoryUsage(PProcess::getCurrentPID(), bytes); });
    _sweep("PProcess::getFreeMemory", [&] { return PProcess::getFreeMemory(bytes); });
    _sweep("PTime::getTickCount",
           []
           {
               const long long start = PTime::getTickCount();
               return PTime::getTickCountDiff(start, start) == 0 ? 0 : -1;
           });
}

TEST(PointerMemorySweep, EveryOperation)
{
    Counted* object = nullptr;
    std::optional<PBaseptr<Counted>> holder;
    sweepAllocations({.operation = "PBaseptr::PBaseptr",
                      .before = [&] { object = new Counted; },
                      .run = [&] { return _caught([&] { holder.emplace(object); }); },
                      .unchanged = [&] { EXPECT_EQ(0, object->references); },
                      .done = [&] { EXPECT_EQ(1, object->references); },
                      .undo = [&] { holder.reset(); },
                      .codes = {-ENOMEM}});
    sweepAllocations({.operation = "PBaseptr::operator=",
                      .before =
                          [&]
                      {
                          holder.emplace(new Counted);
                          object = new Counted;
                      },
                      .run = [&] { return _caught([&] { *holder = object; }); },
                      .unchanged =
                          [&]
                      {
                          EXPECT_EQ(1, holder->get()->references);
                          EXPECT_EQ(0, object->references);
                      },
                      .done = [&] { EXPECT_EQ(1, object->references); },
                      .undo = [&] { holder.reset(); },
                      .codes = {-ENOMEM}});
    // An object that cannot be held is destroyed.
    sweepAllocations(
        {.operation = "PBaseptr::adopt",
         .run = []
         { return _caught([] { const auto adopted = PBaseptr<Counted>::adopt(new Counted); }); },
         .codes = {-ENOMEM}});
    PString* texts = nullptr;
    sweepAllocations(
        {.operation = "PPtr::adopt",
         .before = [&] { texts = new PString[3]; },
         .run = [&]
         { return _caught([&] { const auto adopted = PPtr<PString>::adopt(texts, ePtrArray); }); },
         .recover = [&] { texts = new PString[3]; },
         .codes = {-ENOMEM}});
}
