// SPDX-License-Identifier: MIT
// The check for configuration keys that a plugin reads and does not declare.

#include "shared/PDeclarations.h"
#include "shared/ToolTexts.h"
#include "validate/PCheck.h"
#include "validate/PCoreCalls.h"
#include "validate/PTrial.h"
#include "validate/PWatchedManager.h"

namespace
{
const PTrial* sKeysTrial = nullptr; ///< set before another thread is there

bool _isOfPlugin(const void* iCaller)
{
    return sKeysTrial->isOfPlugin(iCaller);
}

/// The declarations of the plugin, and for its IDs also those of the others.
struct PKeysOfPlugin
{
    explicit PKeysOfPlugin(const PValidateOptions& iOptions)
    {
        const std::string fault = own.add(iOptions.plugin);
        if (fault.empty() && !iOptions.pluginsDir.empty())
        {
            // The core reports a directory that cannot be read.
            static_cast<void>(all.add(iOptions.pluginsDir));
        }
    }

    bool allows(const std::string& iID, const std::string& iKey) const
    {
        return !own.find(iID) || own.findKey(iID, iKey) || all.findKey(iID, iKey);
    }

    PDeclarations own;
    PDeclarations all; ///< of the other plugins
};
} // namespace

PVerdict checkKeys(PTrial& ioTrial)
{
    const PKeysOfPlugin declared(ioTrial.options());
    if (declared.own.ids().empty())
    {
        return PVerdict::pass("declares no keys");
    }
    const PTestCore& core = ioTrial.startCore();
    static PKeyReads sReads;
    sKeysTrial = &ioTrial;
    PCoreCalls::replaceManager(new PWatchedManager(core.service<IConfigManager>(), sReads),
                               &_isOfPlugin);
    ioTrial.initialise();
    ioTrial.stopCore();
    std::vector<std::string> undeclared;
    for (const auto& [id, key] : sReads.keys())
    {
        if (!declared.allows(id, key))
        {
            std::string text = "\"";
            undeclared.push_back(text.append(key).append("\" of \"").append(id).append("\""));
        }
    }
    return undeclared.empty()
               ? PVerdict::pass("reads no key of its own that it does not declare")
               : PVerdict::fail("reads " + joinedTexts(undeclared) + ", which it does not declare",
                                "declare the key in IXLA_CONFIG");
}
