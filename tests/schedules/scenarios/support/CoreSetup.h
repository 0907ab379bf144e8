// SPDX-License-Identifier: MIT
// CoreSetup: the files and arguments of a core in a scenario.
#ifndef IXLAL_SCHEDULES_CORESETUP_H
#define IXLAL_SCHEDULES_CORESETUP_H

#include "Ixla.h"

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

/// Makes the scenario's directory as for a first start: plugins/, config/ and log/, without logs.
/// No call of its own fails in a schedule.
class CoreSetup
{
public:
    /// The names of test plugins (see tests/schedules/CMakeLists.txt), or none.
    explicit CoreSetup(std::initializer_list<const char*> iPlugins = {});

    /// Another value of an argument, or one more.
    void set(const std::string& iKey, const std::string& iValue);

    /// A file in config/.
    void writeConfig(const std::string& iName, const std::string& iText) const;

    /// Libraries stay loaded, so a stop does not pause. Calls of other threads then run beside each
    /// of its steps; during the pause they would all end, because time passes only when no thread
    /// can run.
    void keepLibraries();

    /// The core log and the plugins' log are written, to core.log and log/.
    void writeLogs();

    int start() const;

    /// Starts, without a failing call, and fails the schedule if that fails.
    void mustStart() const;

    std::string path(const std::string& iName) const;

    /// The lines of a file that contain a text.
    int countLines(const std::string& iName, const std::string& iText) const;

private:
    std::vector<PString> arguments() const;

    std::string fDirectory;
    std::map<std::string, std::string> fArguments;
};

/// The result of a request and, when it succeeded, a borrowed pointer.
struct Requested
{
    explicit Requested(const wchar_t* iId) : result(ixlaGetInstance(iId, instance))
    {
    }

    IBase* instance = nullptr;
    int result;
};

#endif
