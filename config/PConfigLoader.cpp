// SPDX-License-Identifier: MIT
#include "config/PConfigLoader.h"

#include "PGuarded.h"
#include "config/PConfig.h"
#include "config/PConfigFormat.h"
#include "config/PConfigResult.h"
#include "portinglayer/PFile.h"

int PConfigLoader::_load(IConfigManager* iManager, const PLiteral& iID, PBaseptr<IConfig>& oConfig,
                         const Fill& iFill) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const PBaseptr<IConfig> config = PBaseptr<IConfig>::adopt(new PConfig(iManager, iID));
            const int result = iFill(config);
            if (result == 0)
            {
                PBaseptr<IConfig> previous = oConfig;
                oConfig = config;
                // An exception from a foreign object's destructor changes nothing for the caller.
                static_cast<void>(ixlaReleased(previous));
            }
            return result;
        });
}

int PConfigLoader::_loadFile(IConfigManager& ioReader, IConfigManager* iManager,
                             const PLiteral& iFile, PBaseptr<IConfig>& oConfig,
                             PReadFault& oFault) noexcept
{
    oFault = PReadFault();
    const int result = _load(iManager, PLiteral(), oConfig,
                             [&](const PBaseptr<IConfig>& ioConfig)
                             {
                                 const int appended = ioReader.appendByFile(iFile, ioConfig);
                                 oFault = _faultOf(ioConfig);
                                 return appended;
                             });
    oFault.code = result != 0 ? result : oFault.code;
    return result;
}

int PConfigLoader::_appendFile(const PLiteral& iFile, const PBaseptr<IConfig>& ioConfig) noexcept
{
    if (!ioConfig)
    {
        return eIxlaInvalidArgument;
    }
    PReadFault& fault = static_cast<PConfig&>(*ioConfig).readFault();
    fault = PReadFault();
    PFile file;
    int result = configResult(file.popen(iFile, PFile::eRead, 0));
    if (result == 0)
    {
        result = ixlaGuarded(
            [&] { return PConfigFormat::_appendLines(file, _valuesOf(ioConfig), fault); });
    }
    fault.code = result != 0 ? result : fault.code;
    // Closing a file that was only read cannot lose anything.
    (void)file.pclose();
    return result;
}

int PConfigLoader::_appendArgs(const PString* iArgs, std::size_t iCount,
                               const PBaseptr<IConfig>& ioConfig) noexcept
{
    if (iCount == 0 || !iArgs || !ioConfig)
    {
        return eIxlaInvalidArgument;
    }
    return PConfigFormat::_appendArgs(iArgs, iCount, _valuesOf(ioConfig));
}

PConfigValues& PConfigLoader::_valuesOf(const PBaseptr<IConfig>& iConfig) noexcept
{
    return static_cast<PConfig&>(*iConfig).values();
}

PReadFault PConfigLoader::_faultOf(const PBaseptr<IConfig>& iConfig) noexcept
{
    return iConfig ? static_cast<PConfig&>(*iConfig).readFault() : PReadFault();
}
