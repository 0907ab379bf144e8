// SPDX-License-Identifier: MIT
// CoreRun: a core in a temporary directory, stopped when the test ends.
#ifndef IXLAL_TESTS_CORERUN_H
#define IXLAL_TESTS_CORERUN_H

#include "Ixla.h"
#include "support/TempDir.h"

#include <map>
#include <string>

/// Starts and stops the core that the test binary links. The directory has plugins/, config/ and
/// log/; config/ has a manager's configuration that lists no IDs. The core log is core.log with
/// level 2. Every argument can be changed before start.
class CoreRun
{
public:
    CoreRun();
    ~CoreRun();

    /// The core argument iKey, to be set or erased; an erased argument is not passed.
    void set(const std::string& iKey, const std::string& iValue);
    void erase(const std::string& iKey);

    /// Copies the test plugin iName (see ixlal_test_plugin) to plugins/, as lib<iFileName>.so.
    void addPlugin(const std::string& iName, const std::string& iFileName = "");

    /// Writes a file into config/.
    void writeConfig(const std::string& iName, const std::string& iText);

    /// Replaces the manager's configuration by the lines of iText and a store file "store.txt".
    void writeManagerConfig(const std::string& iText);

    int start();
    int stop();

    /// The service behind an ID, borrowed; null if the core has none.
    template <class T>
    T* get(const wchar_t* iId)
    {
        return static_cast<T*>(getBase(iId));
    }

    /// The first plugin that was loaded from a library, from its address in the core log; null if
    /// the log has none.
    IPlugin* firstPlugin() const;

    std::string logFile() const;
    std::string pluginLogFile(const std::string& iName = "ixlaplugins.log") const;
    std::string storeFile() const;
    int logCount(const std::string& iText) const;

    TempDir dir;

private:
    static IBase* getBase(const wchar_t* iId);

    std::map<std::string, std::string> fArguments;
    bool fStarted = false;
};

#endif
