// SPDX-License-Identifier: MIT
// PWatchedConfig: a configuration that reports which keys are read.
#ifndef IXLAL_TOOLS_PWATCHEDCONFIG_H
#define IXLAL_TOOLS_PWATCHEDCONFIG_H

#include "IConfig.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "validate/PKeyReads.h"

/// Stands for another configuration.
class PWatchedConfig : public PCounted<IConfig>
{
public:
    /// Reports to ioReads, which must live longer.
    PWatchedConfig(const PBaseptr<IConfig>& iConfig, const PLiteral& iID, PKeyReads& ioReads)
        : fConfig(iConfig), fID(iID), fReads(ioReads)
    {
    }

    /// The configuration for which iConfig stands, or iConfig itself.
    static PBaseptr<IConfig> real(const PBaseptr<IConfig>& iConfig)
    {
        const auto* const watched = dynamic_cast<PWatchedConfig*>(iConfig.get());
        return watched ? watched->fConfig : iConfig;
    }

    int getKeys(std::vector<PString>& oKeys) override
    {
        return fConfig->getKeys(oKeys);
    }

    int getAttributes(const PLiteral& iKey, std::vector<PString>& oAttributes) override
    {
        read(iKey);
        return fConfig->getAttributes(iKey, oAttributes);
    }

    int getString(const PLiteral& iKey, PString& oValue) override
    {
        read(iKey);
        return fConfig->getString(iKey, oValue);
    }

    int getInt32(const PLiteral& iKey, int& oValue) override
    {
        read(iKey);
        return fConfig->getInt32(iKey, oValue);
    }

    int getUint32(const PLiteral& iKey, unsigned int& oValue) override
    {
        read(iKey);
        return fConfig->getUint32(iKey, oValue);
    }

    int getInt64(const PLiteral& iKey, long long& oValue) override
    {
        read(iKey);
        return fConfig->getInt64(iKey, oValue);
    }

    int getUint64(const PLiteral& iKey, unsigned long long& oValue) override
    {
        read(iKey);
        return fConfig->getUint64(iKey, oValue);
    }

    int getBool(const PLiteral& iKey, bool& oValue) override
    {
        read(iKey);
        return fConfig->getBool(iKey, oValue);
    }

    int getBinary(const PLiteral& iKey, unsigned char*& oData, unsigned int& oSize) override
    {
        read(iKey);
        return fConfig->getBinary(iKey, oData, oSize);
    }

    int getAttrString(const PLiteral& iKey, const PLiteral& iAttribute, PString& oValue) override
    {
        read(iKey);
        return fConfig->getAttrString(iKey, iAttribute, oValue);
    }

    int getAttrInt32(const PLiteral& iKey, const PLiteral& iAttribute, int& oValue) override
    {
        read(iKey);
        return fConfig->getAttrInt32(iKey, iAttribute, oValue);
    }

    int getAttrUint32(const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned int& oValue) override
    {
        read(iKey);
        return fConfig->getAttrUint32(iKey, iAttribute, oValue);
    }

    int getAttrInt64(const PLiteral& iKey, const PLiteral& iAttribute, long long& oValue) override
    {
        read(iKey);
        return fConfig->getAttrInt64(iKey, iAttribute, oValue);
    }

    int getAttrUint64(const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned long long& oValue) override
    {
        read(iKey);
        return fConfig->getAttrUint64(iKey, iAttribute, oValue);
    }

    int getAttrBool(const PLiteral& iKey, const PLiteral& iAttribute, bool& oValue) override
    {
        read(iKey);
        return fConfig->getAttrBool(iKey, iAttribute, oValue);
    }

    int getAttrBinary(const PLiteral& iKey, const PLiteral& iAttribute, unsigned char*& oData,
                      unsigned int& oSize) override
    {
        read(iKey);
        return fConfig->getAttrBinary(iKey, iAttribute, oData, oSize);
    }

private:
    void read(const PLiteral& iKey) const
    {
        fReads.add(fID, iKey);
    }

    const PBaseptr<IConfig> fConfig;
    const PString fID;
    PKeyReads& fReads;
};

#endif
