// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "ILogger.h"
#include "portinglayer/PFile.h"
#include "support/CoreRun.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
/// Mounts a small disk at iDir for this process only. Returns the reason of a failure, or an empty
/// text.
std::string _mountDisk(const std::string& iDir, const char* iOptions)
{
    fs::create_directory(iDir);
    const bool isMounted = unshare(CLONE_NEWNS) == 0 &&
                           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                           mount("none", iDir.c_str(), "tmpfs", 0, iOptions) == 0;
    return isMounted ? "" : std::string("no disk can be mounted: ") + std::strerror(errno);
}

/// Fills a disk until the end of its scope.
class Filler
{
public:
    explicit Filler(const std::string& iDisk) : fPath(iDisk + "/filler")
    {
        const int file = open(fPath.c_str(), O_WRONLY | O_CREAT, 0600);
        const std::string bytes(4096, 'f');
        while (write(file, bytes.data(), bytes.size()) > 0)
        {
        }
        fIsFull = errno == ENOSPC;
        close(file);
    }

    ~Filler()
    {
        fs::remove(fPath);
    }

    Filler(const Filler&) = delete;
    Filler& operator=(const Filler&) = delete;

    bool isFull() const
    {
        return fIsFull;
    }

private:
    const std::string fPath;
    bool fIsFull = false;
};

/// The number of lines that a log reports as lost.
int _lost(const std::string& iPath)
{
    const std::string report = "Lost lines: ";
    int lost = 0;
    for (const std::string& line : readLines(iPath))
    {
        const std::size_t at = line.find(report);
        lost += at == std::string::npos ? 0 : std::stoi(line.substr(at + report.size()));
    }
    return lost;
}

/// A core with its logs and its store on a separate disk.
class FullDisk : public testing::Test
{
protected:
    FullDisk() : fDisk(fCore.dir.file("disk"))
    {
    }

    ~FullDisk() override
    {
        // Fails if no disk was mounted; then the directory can be removed without it.
        umount2(fDisk.c_str(), MNT_DETACH);
    }

    void start()
    {
        fCore.set("core.log.file", fDisk + "/core.log");
        fCore.set("core.plugins.log.dir", fDisk);
        fCore.writeConfig("ixlap.configmanager.prs",
                          "net = net.prs\nixlap.configmanager.store.file = " + fDisk + "/store");
        fCore.writeConfig("net.prs", "own = 1\n");
        ASSERT_EQ(0, fCore.start());
        fManager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
        ASSERT_EQ(0, fManager->loadByID(L"net", fConfig));
        ASSERT_EQ(0, fManager->setString(L"net", L"speed", L"fast"));
        ASSERT_EQ(0, fManager->storeString(L"net", L"port", L"1"));
        ASSERT_EQ(0, fCore.get<ILogger>(kIxlaLoggerId)->getLogger(L"own.log", fLogger));
    }

    int store(const std::string& iValue)
    {
        return fManager->storeString(L"net", L"port", wide(iValue));
    }

    std::string valueOf(const wchar_t* iKey)
    {
        PString text;
        const int result = fConfig->getString(iKey, text);
        return result == 0 ? narrow(text) : std::to_string(result);
    }

    void log(int iLines)
    {
        for (int i = 0; i < iLines; ++i)
        {
            fLogger->info(0, L"line %d", ++fSent);
        }
    }

    CoreRun fCore;
    const std::string fDisk;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IConfig> fConfig;
    PBaseptr<ILogger> fLogger;
    int fSent = 0;
};
} // namespace

TEST_F(FullDisk, LosesOnlyDataThatDoesNotFit)
{
    const std::string reason = _mountDisk(fDisk, "size=256k");
    if (!reason.empty())
    {
        GTEST_SKIP() << reason;
    }
    start();
    log(10);
    {
        const Filler filler(fDisk);
        ASSERT_TRUE(filler.isFull());
        EXPECT_EQ(-ENOSPC, store(std::string(100000, 'x')));
        // More than the room in the last page of the log.
        log(200);
        for (int i = 0; i < 200; ++i)
        {
            fCore.get<IBase>(L"no.such.interface");
        }
        EXPECT_EQ("1", valueOf(L"own"));
        EXPECT_EQ("fast", valueOf(L"speed"));
        EXPECT_EQ(0, fManager->setString(L"net", L"new", L"1"));
        EXPECT_EQ(-ENOSPC, store(std::string(100000, 'x')));
    }
    EXPECT_EQ(0, store("2"));
    EXPECT_EQ("net|port = 2\n", readFile(fDisk + "/store"));
    log(1);
    fCore.get<IBase>(L"no.such.interface");

    const std::string own = fDisk + "/own.log";
    EXPECT_GT(_lost(own), 0);
    EXPECT_EQ(fSent, countLines(own, " line ") + _lost(own));
    EXPECT_EQ(readLines(own).size(), countLines(own, " line ") + countLines(own, "Lost lines: "));
    EXPECT_GT(_lost(fDisk + "/core.log"), 0);
    EXPECT_GT(countLines(fDisk + "/core.log", " err: -28"), 0);
}

TEST_F(FullDisk, FullDeviceAsLogNeitherBlocksNorEndsTheCore)
{
    fs::create_directory(fDisk);
    fs::create_symlink("/dev/full", fDisk + "/core.log");
    fs::create_symlink("/dev/full", fDisk + "/ixlaplugins.log");
    fs::create_symlink("/dev/full", fDisk + "/own.log");
    start();

    log(200);
    EXPECT_EQ(0, store("2"));
    EXPECT_EQ("1", valueOf(L"own"));
    EXPECT_EQ("fast", valueOf(L"speed"));
    fConfig.clear();
    fLogger.clear();
    fManager.clear();
    EXPECT_EQ(0, fCore.stop());
}

TEST_F(FullDisk, FullDeviceAsTextFileIsReported)
{
    PFile file;
    ASSERT_EQ(0, file.popen(L"/dev/full", PFile::eWrite | PFile::eNewText | PFile::eCreate, 0));

    EXPECT_EQ(0, file.pwriteLine(L"a"));
    EXPECT_EQ(-ENOSPC, file.pclose());
}
