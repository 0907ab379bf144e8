// SPDX-License-Identifier: MIT
// PConfigLoader: creates configurations and fills them.
#ifndef IXLAL_PCONFIGLOADER_H
#define IXLAL_PCONFIGLOADER_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/PConfigValues.h"
#include "config/PFunctionRef.h"
#include "config/PReadFault.h"

/// The common code of the load and append operations. Every configuration passed in is a PConfig.
/// No other thread may use it during the call.
class PConfigLoader
{
public:
    /// Fills a new configuration. Returns 0 or a code.
    typedef PFunctionRef<int(const PBaseptr<IConfig>& ioConfig)> Fill;

    /// Creates a configuration with the manager iManager, which may be null, and the ID iID, and
    /// fills it. oConfig is unchanged on failure. Returns 0, -501 or the code of iFill.
    static int _load(IConfigManager* iManager, const PLiteral& iID, PBaseptr<IConfig>& oConfig,
                     const Fill& iFill) noexcept;

    /// Creates a configuration as _load does, and fills it by appendByFile of ioReader. oFault
    /// gets the place and the code of any error, also of one that ended the file early with the
    /// result 0.
    static int _loadFile(IConfigManager& ioReader, IConfigManager* iManager, const PLiteral& iFile,
                         PBaseptr<IConfig>& oConfig, PReadFault& oFault) noexcept;

    /// Adds the lines of a file. Returns 0, -502 for an empty ioConfig, -3001, -501, or the code of
    /// opening the file. What was added before an error stays. The read fault of ioConfig says
    /// where reading ended early.
    static int _appendFile(const PLiteral& iFile, const PBaseptr<IConfig>& ioConfig) noexcept;

    /// Adds iCount arguments. Returns 0, -502 without arguments or for an empty ioConfig, -3001 or
    /// -501. What was added before an error stays.
    static int _appendArgs(const PString* iArgs, std::size_t iCount,
                           const PBaseptr<IConfig>& ioConfig) noexcept;

    /// The values of a configuration, which must not be empty.
    static PConfigValues& _valuesOf(const PBaseptr<IConfig>& iConfig) noexcept;

    /// Where reading the last file into a configuration ended early; no fault for an empty iConfig.
    static PReadFault _faultOf(const PBaseptr<IConfig>& iConfig) noexcept;
};

#endif
