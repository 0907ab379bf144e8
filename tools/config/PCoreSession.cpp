// SPDX-License-Identifier: MIT
#include "config/PCoreSession.h"

#include "Ixla.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "shared/ToolTexts.h"

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr std::string_view kReserved[] = {
    "core.plugins.dir",          "core.plugins.config.dir", "core.plugins.log.dir",
    "core.plugins.log.level",    "core.plugins.log.enable", "core.plugins.log.maxsize",
    "core.plugins.log.maxcount", "core.free.plugins.lib",   "core.autostart.list"};

/// Redirects the standard error stream to /dev/null during its lifetime.
class SilentErrors
{
public:
    SilentErrors() : fKept(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
    {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere >= 0)
        {
            ::dup2(nowhere, STDERR_FILENO);
            ::close(nowhere);
        }
    }

    ~SilentErrors()
    {
        if (fKept >= 0)
        {
            ::dup2(fKept, STDERR_FILENO);
            ::close(fKept);
        }
    }

    SilentErrors(const SilentErrors&) = delete;
    SilentErrors& operator=(const SilentErrors&) = delete;

private:
    const int fKept;
};

std::vector<PString> _arguments(const PScratch& iScratch, const std::string& iConfigDir,
                                const std::vector<std::string>& iArguments)
{
    std::vector<PString> all = wideTexts(iArguments);
    const std::vector<PString> own = wideTexts(
        {"core.plugins.dir=" + iScratch.pluginsDir(), "core.plugins.config.dir=" + iConfigDir,
         "core.plugins.log.dir=" + iScratch.logDir(), "core.plugins.log.level=0",
         "core.plugins.log.enable=true", "core.plugins.log.maxsize=0",
         "core.plugins.log.maxcount=0",
         // If libraries were closed, the stop would wait for threads that do not exist.
         "core.free.plugins.lib=false", "core.autostart.list="});
    all.insert(all.end(), own.begin(), own.end());
    return all;
}

int _start(const std::vector<PString>& iArguments)
{
    const SilentErrors silent;
    return ixlaStart(iArguments.data(), static_cast<unsigned int>(iArguments.size()));
}
} // namespace

PCoreSession::PCoreSession(const PScratch& iScratch, const std::string& iConfigDir,
                           const std::vector<std::string>& iArguments)
{
    const int started = _start(_arguments(iScratch, iConfigDir, iArguments));
    if (started != 0)
    {
        throw PToolError("the core does not start: " + ixlaResultText(started) +
                         (iArguments.empty() ? "" : "; check the arguments of --core"));
    }
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(kIxlaConfigManagerId, instance);
    if (result != 0)
    {
        ixlaStop(); // its result is ignored: the earlier error is thrown
        throw PToolError("the core has no configuration manager: " + ixlaResultText(result));
    }
    fManager = PBaseptr<IConfigManager>(static_cast<IConfigManager*>(instance));
}

PCoreSession::~PCoreSession()
{
    fManager.clear();
    // A failed stop has no effect on the tool.
    static_cast<void>(ixlaStop());
}

IConfigManager& PCoreSession::manager() const
{
    return *fManager;
}

bool PCoreSession::isReserved(const std::string& iKey)
{
    return std::find(std::begin(kReserved), std::end(kReserved), iKey) != std::end(kReserved);
}
