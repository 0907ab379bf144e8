// SPDX-License-Identifier: MIT
#include "host/PFilesCheck.h"

#include "Ixla.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "portinglayer/PUtils.h"
#include "shared/PConfigFile.h"
#include "shared/PFileDescriptor.h"
#include "shared/ToolTexts.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace
{
/// The errno of appending to a log, as the core does; 0 if it can be opened.
int _openLog(const std::string& iPath)
{
    const int flags = O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC;
    const PFileDescriptor file(open(iPath.c_str(), flags));
    return file ? 0 : errno;
}

/// Whether opening a path for reading can wait for a writer.
bool _mayBlock(const std::string& iPath)
{
    struct stat status = {};
    return stat(iPath.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
           !S_ISDIR(status.st_mode);
}

/// What to do about a file that the core cannot read.
std::string _fixOf(int iResult, const std::string& iPath)
{
    switch (iResult)
    {
    case eIxlaBadConfigLine:
        return "ixla-config check " + iPath + " shows the mistakes";
    case -ENOENT:
        return "create it, it may be empty";
    default:
        return "correct the path or the permissions";
    }
}
} // namespace

PFilesCheck::PFilesCheck(const PCoreConfig& iConfig) : fConfig(iConfig), fPlaces(iConfig.values())
{
}

std::vector<PDegradation> PFilesCheck::checkLog(const PCoreLogPlace& iPlace,
                                                const PLogFollower& iLog)
{
    if (iPlace.file().empty() || iPlace.path().empty())
    {
        return {};
    }
    const int error = _openLog(iPlace.path());
    const bool isEmpty = iPlace.hasDetails() && !iLog.isBlind() && !iLog.hasRead();
    if (error == 0 && !isEmpty)
    {
        return {};
    }
    const std::string reason = error != 0 ? std::generic_category().message(error)
                                          : "no line arrived, so the disk may be full";
    return {{eExitCoreLog, "the core log " + quotedText(ixlaWide(iPlace.file())) +
                               " cannot be written: " + reason +
                               "; correct the argument core.log.file or the permissions"}};
}

std::vector<PDegradation> PFilesCheck::run()
{
    PString dir = fConfig.valueOf(L"core.plugins.config.dir");
    PUtils::fixFileSeparator(dir);
    std::error_code error;
    if (!std::filesystem::is_directory(utf8Text(dir), error))
    {
        return {{eExitIgnoredFile, "no configuration is read: the directory " + quotedText(dir) +
                                       " cannot be read; correct " +
                                       fConfig.placeOf(L"core.plugins.config.dir")}};
    }
    check(fPlaces.managerPath(), "the file of the configuration manager",
          "every load by ID fails, and there are no plugin logs", false);
    if (fFound.empty() && fPlaces.readManagerFile(fConfig.manager()) == 0)
    {
        checkListed();
    }
    return std::move(fFound);
}

void PFilesCheck::checkListed()
{
    for (const PString& id : fPlaces.listedIDs())
    {
        for (const PString& name : fPlaces.filesOf(id))
        {
            check(fPlaces.pathOf(name), "the configuration file",
                  "ID " + shownText(id) + " lacks values", false);
        }
    }
    if (fPlaces.storePath().len() > 0)
    {
        check(fPlaces.storePath(), "the store", "no stored value is used, and none can be stored",
              true);
    }
}

void PFilesCheck::check(const PString& iPath, const std::string& iWhat, const std::string& iEffect,
                        bool iMayBeMissing)
{
    if (!fChecked.insert(utf8Text(iPath)).second || _mayBlock(utf8Text(iPath)))
    {
        return;
    }
    PBaseptr<IConfig> ignored;
    const int result = fConfig.manager().loadByFile(iPath, ignored);
    if (result == 0 || (iMayBeMissing && result == -ENOENT))
    {
        return;
    }
    PConfigFile file;
    static_cast<void>(file.read(iPath)); // the core has reported the result
    const unsigned int line = result == eIxlaBadConfigLine ? file.brokenLine() : 0;
    const std::string shown = shownText(iPath);
    fFound.push_back({eExitIgnoredFile, iWhat + " " + shown +
                                            (line > 0 ? ":" + std::to_string(line) : "") +
                                            " is ignored: " + ixlaResultText(result) + "; " +
                                            iEffect + "; " + _fixOf(result, shown)});
}
