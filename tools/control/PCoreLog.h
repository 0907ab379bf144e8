// SPDX-License-Identifier: MIT
// PCoreLog: what the core log says about this process.
#ifndef IXLAL_TOOLS_PCORELOG_H
#define IXLAL_TOOLS_PCORELOG_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// A plugin, according to the core log.
struct LoggedPlugin
{
    std::string library; ///< the path; empty for a built-in plugin
    std::vector<std::string> interfaces;
    std::string state = "loaded"; ///< or "initialising", "initialised", "failed"
    std::string code;             ///< of the failure
};

/// Reads the lines of the last start of this process. A log of level 0 has all of them; a log that
/// is disabled, was rotated or has a negative level lacks some or all.
class PCoreLog
{
public:
    /// Reads nothing when iPath is empty.
    explicit PCoreLog(const std::string& iPath);

    /// Whether the beginning of the start was found.
    bool isComplete() const noexcept;

    /// In the order of loading.
    const std::vector<LoggedPlugin>& plugins() const noexcept;

    /// The plugin of a library's file name; null for an unknown one.
    const LoggedPlugin* find(const std::string& iFileName) const;

    ///@{
    /// Settings of the start; empty when the log does not show them.
    const std::string& pluginsDir() const noexcept;
    const std::string& loadList() const noexcept;
    const std::string& autostartList() const noexcept;
    ///@}

private:
    void clear();
    void read(std::string_view iLine);
    void readStart(std::string_view iText);
    void readPlugin(std::string_view iText);
    void readState(std::string_view iText);
    void removeInterface(std::string_view iID);

    bool fIsComplete = false;
    std::vector<LoggedPlugin> fPlugins;
    std::map<std::string, std::size_t, std::less<>> fByAddress;
    std::string fPluginsDir;
    std::string fLoadList;
    std::string fAutostartList;
};

#endif
