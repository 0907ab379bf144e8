// SPDX-License-Identifier: MIT
// PGlobalConfig: publishes the settings that all plugins share.
#ifndef IXLAL_PGLOBALCONFIG_H
#define IXLAL_PGLOBALCONFIG_H

class PCoreLog;
class PCoreServices;
class PLiteral;
class PSharedValues;
class PStartArguments;
struct PConfigValue;

/// Copies settings of the core's configuration into run-time values that plugins cannot override.
/// Runs on the starting thread, once.
class PGlobalConfig
{
public:
    PGlobalConfig(const PCoreLog& iLog, const PCoreServices& iServices) noexcept
        : fLog(iLog), fServices(iServices)
    {
    }

    PGlobalConfig(const PGlobalConfig&) = delete;
    PGlobalConfig& operator=(const PGlobalConfig&) = delete;

    /// Publishes the core's own log settings for those that are not configured; plugins can
    /// override them. Returns the result of the last one; earlier failures are dropped.
    int publishLogDefaults(const PStartArguments& iArguments);

    /// Returns 0, or -1010 without a required key. May throw std::bad_alloc.
    int setGlobalConfig();

private:
    ///@{
    /// Read the core's configuration.
    const PConfigValue* find(const PLiteral& iKey) const;
    bool readInt32(const PLiteral& iKey, int& oValue) const;
    bool readBool(const PLiteral& iKey, bool& oValue) const;
    ///@}

    int addDirs(PSharedValues& ioValues);
    int addDir(PSharedValues& ioValues, const PLiteral& iKey, const wchar_t* iSetFormat,
               const wchar_t* iMissingFormat);
    void addInt32(PSharedValues& ioValues, const PLiteral& iKey, const wchar_t* iSetFormat);
    void addEnable(PSharedValues& ioValues);
    void publishCustomKeys();
    int publish(const PSharedValues& iValues, bool iPinned);

    const PCoreLog& fLog;
    const PCoreServices& fServices;
};

#endif
