// SPDX-License-Identifier: MIT
// PWatchedManager: a configuration manager whose configurations report which keys are read.
#ifndef IXLAL_TOOLS_PWATCHEDMANAGER_H
#define IXLAL_TOOLS_PWATCHEDMANAGER_H

#include "IConfigManager.h"
#include "validate/PWatchedConfig.h"

/// The operations that write a value of one type: at run time or into the store, that of a key or
/// that of an attribute.
#define IXLAL_PASS_WRITERS(NAME, PARAMETERS, ARGUMENTS)                                            \
    int set##NAME(const PLiteral& iID, const PLiteral& iKey, PARAMETERS) override                  \
    {                                                                                              \
        return fManager->set##NAME(iID, iKey, ARGUMENTS);                                          \
    }                                                                                              \
    int setAttr##NAME(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,       \
                      PARAMETERS) override                                                         \
    {                                                                                              \
        return fManager->setAttr##NAME(iID, iKey, iAttribute, ARGUMENTS);                          \
    }                                                                                              \
    int store##NAME(const PLiteral& iID, const PLiteral& iKey, PARAMETERS) override                \
    {                                                                                              \
        return fManager->store##NAME(iID, iKey, ARGUMENTS);                                        \
    }                                                                                              \
    int storeAttr##NAME(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,     \
                        PARAMETERS) override                                                       \
    {                                                                                              \
        return fManager->storeAttr##NAME(iID, iKey, iAttribute, ARGUMENTS);                        \
    }

/// Stands for the manager of the core. Configurations without an ID are not watched.
class PWatchedManager : public PCounted<IConfigManager>
{
public:
    /// Reports to ioReads, which must live longer.
    PWatchedManager(const PBaseptr<IConfigManager>& iManager, PKeyReads& ioReads)
        : fManager(iManager), fReads(ioReads)
    {
    }

    int listIDs(std::vector<PString>& oIDs) override
    {
        return fManager->listIDs(oIDs);
    }

    int loadByID(const PLiteral& iID, PBaseptr<IConfig>& oConfig) override
    {
        return watched(fManager->loadByID(iID, oConfig), iID, oConfig);
    }

    int loadByFile(const PLiteral& iFile, PBaseptr<IConfig>& oConfig) override
    {
        return fManager->loadByFile(iFile, oConfig);
    }

    int loadByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig>& oConfig) override
    {
        return fManager->loadByArgs(iArgs, oConfig);
    }

    int loadByArgs(const PString* iArgs, unsigned int iCount, PBaseptr<IConfig>& oConfig) override
    {
        return fManager->loadByArgs(iArgs, iCount, oConfig);
    }

    int appendByID(const PLiteral& iID, PBaseptr<IConfig> ioConfig) override
    {
        return fManager->appendByID(iID, PWatchedConfig::real(ioConfig));
    }

    int appendByFile(const PLiteral& iFile, PBaseptr<IConfig> ioConfig) override
    {
        return fManager->appendByFile(iFile, PWatchedConfig::real(ioConfig));
    }

    int appendByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig> ioConfig) override
    {
        return fManager->appendByArgs(iArgs, PWatchedConfig::real(ioConfig));
    }

    int appendByArgs(const PString* iArgs, unsigned int iCount, PBaseptr<IConfig> ioConfig) override
    {
        return fManager->appendByArgs(iArgs, iCount, PWatchedConfig::real(ioConfig));
    }

    IXLAL_PASS_WRITERS(String, const PLiteral& iValue, iValue)
    IXLAL_PASS_WRITERS(Int32, int iValue, iValue)
    IXLAL_PASS_WRITERS(Uint32, unsigned int iValue, iValue)
    IXLAL_PASS_WRITERS(Int64, long long iValue, iValue)
    IXLAL_PASS_WRITERS(Uint64, unsigned long long iValue, iValue)
    IXLAL_PASS_WRITERS(Bool, bool iValue, iValue)
    IXLAL_PASS_WRITERS(Binary, IXLAL_LIST(const unsigned char* iData, unsigned int iSize),
                       IXLAL_LIST(iData, iSize))

    int removeSetKey(const PLiteral& iID, const PLiteral& iKey) override
    {
        return fManager->removeSetKey(iID, iKey);
    }

    int removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                      const PLiteral& iAttribute) override
    {
        return fManager->removeSetAttr(iID, iKey, iAttribute);
    }

    int removeStoredKey(const PLiteral& iID, const PLiteral& iKey) override
    {
        return fManager->removeStoredKey(iID, iKey);
    }

    int removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                         const PLiteral& iAttribute) override
    {
        return fManager->removeStoredAttr(iID, iKey, iAttribute);
    }

    int addListener(const PLiteral& iID, const PLiteral& iTopic) override
    {
        return fManager->addListener(iID, iTopic);
    }

    int removeListener(const PLiteral& iID, const PLiteral& iTopic) override
    {
        return fManager->removeListener(iID, iTopic);
    }

private:
    int watched(int iResult, const PLiteral& iID, PBaseptr<IConfig>& ioConfig) const
    {
        if (iResult == eIxlaOk)
        {
            ioConfig = PBaseptr<IConfig>::adopt(new PWatchedConfig(ioConfig, iID, fReads));
        }
        return iResult;
    }

    const PBaseptr<IConfigManager> fManager;
    PKeyReads& fReads;
};

#undef IXLAL_PASS_WRITERS

#endif
