// SPDX-License-Identifier: MIT
// PGlobalConfig: publishes the settings that all plugins share.
#ifndef IXLAL_PGLOBALCONFIG_H
#define IXLAL_PGLOBALCONFIG_H

class PCoreLog;
class PCoreServices;
class PLiteral;

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

    /// Returns 0, or -1010 without a required key. May throw std::bad_alloc.
    int setGlobalConfig();

private:
    int publishDir(const wchar_t* iKey, const wchar_t* iSetFormat, const wchar_t* iMissingFormat);
    void publishInt32(const wchar_t* iKey, const wchar_t* iSetFormat);
    void publishBool(const wchar_t* iKey, const wchar_t* iSetFormat);
    void publishCustomKeys();
    void pinGlobal(const PLiteral& iKey);

    const PCoreLog& fLog;
    const PCoreServices& fServices;
};

#endif
