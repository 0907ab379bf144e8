// SPDX-License-Identifier: MIT
// A core that a forked child loads. The parent has only the porting layer loaded.
#include "IConfigManager.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "support/Deadline.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
class LateCore : public testing::Test
{
protected:
    LateCore()
    {
        dir.write("config/ixlap.configmanager.prs", "net = net.prs\n");
        mkdir(dir.file("plugins").c_str(), 0700);
        mkfifo(pipe().c_str(), 0600);
    }

    std::string pipe() const
    {
        return dir.file("config/net.prs");
    }

    /// The exit code of a child that returns the result of iWork.
    template <class TWork>
    static int statusOfChild(const TWork& iWork)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            const Deadline deadline;
            _exit(iWork());
        }
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    int load()
    {
        void* const library = dlopen(IXLAL_TEST_CORE, RTLD_NOW);
        const auto found = [&](auto& oFunction, const char* iName)
        {
            oFunction = library ? reinterpret_cast<std::remove_reference_t<decltype(oFunction)>>(
                                      dlsym(library, iName))
                                : nullptr;
            return oFunction != nullptr;
        };
        return found(fStart, "_Z9ixlaStartPK7PStringj") && found(fStop, "_Z8ixlaStopv") &&
                       found(fGetInstance, "_Z15ixlaGetInstanceRK8PLiteralRP5IBase")
                   ? 0
                   : -1;
    }

    int start()
    {
        std::vector<PString> arguments;
        for (const std::string& argument :
             {"core.log.file=" + dir.file("core.log"), "core.plugins.dir=" + dir.file("plugins"),
              "core.plugins.config.dir=" + dir.file("config"),
              "core.plugins.log.dir=" + dir.file("log"), std::string("core.free.plugins.lib=false"),
              std::string("core.notify.exit.timeout=1")})
        {
            arguments.push_back(wide(argument));
        }
        return fStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    }

    /// Loads from the pipe on another thread. When that thread has opened the pipe, returns the
    /// other end, which makes it wait.
    int readPipe()
    {
        IBase* instance = nullptr;
        if (fGetInstance(kIxlaConfigManagerId, instance) != 0)
        {
            return -1;
        }
        const PBaseptr<IConfigManager> manager(static_cast<IConfigManager*>(instance));
        std::thread(
            [manager]
            {
                PBaseptr<IConfig> config;
                manager->loadByID(L"net", config);
            })
            .detach();
        return open(pipe().c_str(), O_WRONLY | O_CLOEXEC);
    }

    TempDir dir;
    decltype(&ixlaStart) fStart = nullptr;
    decltype(&ixlaStop) fStop = nullptr;
    decltype(&ixlaGetInstance) fGetInstance = nullptr;
};
} // namespace

// The core starts to count forks now; the porting layer has already counted one.
TEST_F(LateCore, StopInAChildEndsDuringALoadFromAPipe)
{
    const int status = statusOfChild(
        [this]
        {
            if (load() != 0 || start() != 0 || readPipe() < 0)
            {
                return 1;
            }
            return fStop() == 0 ? 0 : 2;
        });

    EXPECT_EQ(0, status);
    EXPECT_EQ(1,
              countLines(dir.file("core.log"), "Configuration manager is busy on another thread"));
}
