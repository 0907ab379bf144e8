// SPDX-License-Identifier: MIT
// PWatchedConfig: a configuration that reports which keys are read.
#ifndef IXLAL_TOOLS_PWATCHEDCONFIG_H
#define IXLAL_TOOLS_PWATCHEDCONFIG_H

#include "IConfig.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "validate/PKeyReads.h"

/// Several parameters or arguments as one argument of a macro.
#define IXLAL_LIST(...) __VA_ARGS__

/// The operations that read a value of one type: that of a key, and that of an attribute.
#define IXLAL_WATCH(NAME, PARAMETERS, ARGUMENTS)                                                   \
    int get##NAME(const PLiteral& iKey, PARAMETERS) override                                       \
    {                                                                                              \
        read(iKey);                                                                                \
        return fConfig->get##NAME(iKey, ARGUMENTS);                                                \
    }                                                                                              \
    int getAttr##NAME(const PLiteral& iKey, const PLiteral& iAttribute, PARAMETERS) override       \
    {                                                                                              \
        read(iKey);                                                                                \
        return fConfig->getAttr##NAME(iKey, iAttribute, ARGUMENTS);                                \
    }

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

    IXLAL_WATCH(String, PString& oValue, oValue)
    IXLAL_WATCH(Int32, int& oValue, oValue)
    IXLAL_WATCH(Uint32, unsigned int& oValue, oValue)
    IXLAL_WATCH(Int64, long long& oValue, oValue)
    IXLAL_WATCH(Uint64, unsigned long long& oValue, oValue)
    IXLAL_WATCH(Bool, bool& oValue, oValue)
    IXLAL_WATCH(Binary, IXLAL_LIST(unsigned char*& oData, unsigned int& oSize),
                IXLAL_LIST(oData, oSize))

private:
    void read(const PLiteral& iKey) const
    {
        fReads.add(fID, iKey);
    }

    const PBaseptr<IConfig> fConfig;
    const PString fID;
    PKeyReads& fReads;
};

#undef IXLAL_WATCH

#endif
