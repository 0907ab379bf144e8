// SPDX-License-Identifier: MIT
// PWatchedManager: a configuration manager whose configurations report which keys are read.
#ifndef IXLAL_TOOLS_PWATCHEDMANAGER_H
#define IXLAL_TOOLS_PWATCHEDMANAGER_H

#include "IConfigManager.h"
#include "validate/PWatchedConfig.h"

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

    int setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) override
    {
        return fManager->setString(iID, iKey, iValue);
    }

    int removeSetKey(const PLiteral& iID, const PLiteral& iKey) override
    {
        return fManager->removeSetKey(iID, iKey);
    }

    int setInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) override
    {
        return fManager->setInt32(iID, iKey, iValue);
    }

    int setUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) override
    {
        return fManager->setUint32(iID, iKey, iValue);
    }

    int setInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) override
    {
        return fManager->setInt64(iID, iKey, iValue);
    }

    int setUint64(const PLiteral& iID, const PLiteral& iKey, unsigned long long iValue) override
    {
        return fManager->setUint64(iID, iKey, iValue);
    }

    int setBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) override
    {
        return fManager->setBool(iID, iKey, iValue);
    }

    int setBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                  unsigned int iSize) override
    {
        return fManager->setBinary(iID, iKey, iData, iSize);
    }

    int setAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      const PLiteral& iValue) override
    {
        return fManager->setAttrString(iID, iKey, iAttribute, iValue);
    }

    int removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                      const PLiteral& iAttribute) override
    {
        return fManager->removeSetAttr(iID, iKey, iAttribute);
    }

    int setAttrInt32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                     int iValue) override
    {
        return fManager->setAttrInt32(iID, iKey, iAttribute, iValue);
    }

    int setAttrUint32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned int iValue) override
    {
        return fManager->setAttrUint32(iID, iKey, iAttribute, iValue);
    }

    int setAttrInt64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                     long long iValue) override
    {
        return fManager->setAttrInt64(iID, iKey, iAttribute, iValue);
    }

    int setAttrUint64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned long long iValue) override
    {
        return fManager->setAttrUint64(iID, iKey, iAttribute, iValue);
    }

    int setAttrBool(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                    bool iValue) override
    {
        return fManager->setAttrBool(iID, iKey, iAttribute, iValue);
    }

    int setAttrBinary(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      const unsigned char* iData, unsigned int iSize) override
    {
        return fManager->setAttrBinary(iID, iKey, iAttribute, iData, iSize);
    }

    int storeString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) override
    {
        return fManager->storeString(iID, iKey, iValue);
    }

    int removeStoredKey(const PLiteral& iID, const PLiteral& iKey) override
    {
        return fManager->removeStoredKey(iID, iKey);
    }

    int storeInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) override
    {
        return fManager->storeInt32(iID, iKey, iValue);
    }

    int storeUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) override
    {
        return fManager->storeUint32(iID, iKey, iValue);
    }

    int storeInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) override
    {
        return fManager->storeInt64(iID, iKey, iValue);
    }

    int storeUint64(const PLiteral& iID, const PLiteral& iKey, unsigned long long iValue) override
    {
        return fManager->storeUint64(iID, iKey, iValue);
    }

    int storeBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) override
    {
        return fManager->storeBool(iID, iKey, iValue);
    }

    int storeBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                    unsigned int iSize) override
    {
        return fManager->storeBinary(iID, iKey, iData, iSize);
    }

    int storeAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        const PLiteral& iValue) override
    {
        return fManager->storeAttrString(iID, iKey, iAttribute, iValue);
    }

    int removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                         const PLiteral& iAttribute) override
    {
        return fManager->removeStoredAttr(iID, iKey, iAttribute);
    }

    int storeAttrInt32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                       int iValue) override
    {
        return fManager->storeAttrInt32(iID, iKey, iAttribute, iValue);
    }

    int storeAttrUint32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        unsigned int iValue) override
    {
        return fManager->storeAttrUint32(iID, iKey, iAttribute, iValue);
    }

    int storeAttrInt64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                       long long iValue) override
    {
        return fManager->storeAttrInt64(iID, iKey, iAttribute, iValue);
    }

    int storeAttrUint64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        unsigned long long iValue) override
    {
        return fManager->storeAttrUint64(iID, iKey, iAttribute, iValue);
    }

    int storeAttrBool(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      bool iValue) override
    {
        return fManager->storeAttrBool(iID, iKey, iAttribute, iValue);
    }

    int storeAttrBinary(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        const unsigned char* iData, unsigned int iSize) override
    {
        return fManager->storeAttrBinary(iID, iKey, iAttribute, iData, iSize);
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

#endif
