// SPDX-License-Identifier: MIT
// CoreRun: a core in a temporary directory, stopped when the test ends.
#ifndef IXLAL_TESTS_CORERUN_H
#define IXLAL_TESTS_CORERUN_H

#include "Ixla.h"
#include "support/TempDir.h"

#include <map>
#include <string>

/// Starts and stops the core that the test binary links. The directory holds plugins/, config/
/// and log/; config/ begins with a manager's configuration that lists no IDs. The core log is
/// core.log with level 2. Every argument can be changed before start.
class CoreRun
{
public:
    CoreRun();
    ~CoreRun();

    /// Sets the core argument iKey; an argument that is erased is not passed.
    void set(const std::string& iKey, const std::string& iValue);
    void erase(const std::string& iKey);

    /// Puts the test plugin iName (see ixlal_test_plugin) into plugins/, as lib<iFileName>.so.
    void addPlugin(const std::string& iName, const std::string& iFileName = "");

    /// Writes a file into config/.
    void writeConfig(const std::string& iName, const std::string& iText);

    /// Writes the manager's configuration anew: the lines of iText and a store file "store.txt".
    void writeManagerConfig(const std::string& iText);

    int start();
    int stop();

    /// The service behind an ID, borrowed; null when the core has none.
    template <class T>
    T* get(const wchar_t* iId)
    {
        return static_cast<T*>(getBase(iId));
    }

    /// The first plugin that was loaded from a library, by its address in the core log; null when
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
