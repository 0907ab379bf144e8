// SPDX-License-Identifier: MIT
// PluginService: a plugin that is itself the service of all its interfaces.
#ifndef IXLAL_TESTS_PLUGINSERVICE_H
#define IXLAL_TESTS_PLUGINSERVICE_H

#include "IPlugin.h"
#include "Ixla.h"
#include "support/Counted.h"

#include <algorithm>
#include <vector>

class PluginService : public Counted<IPlugin>
{
public:
    explicit PluginService(std::vector<PString> iIDs) : fIDs(std::move(iIDs))
    {
    }

    int init() override
    {
        return eIxlaOk;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        oCount = static_cast<unsigned int>(fIDs.size());
        PString* const ids = oCount > 0 ? new PString[oCount] : nullptr;
        std::copy(fIDs.begin(), fIDs.end(), ids);
        return ids;
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = this;
        return eIxlaOk;
    }

private:
    const std::vector<PString> fIDs;
};

#endif
