// SPDX-License-Identifier: MIT
// PConfigListeners: the topics on which changes of run-time values are announced.
#ifndef IXLAL_PCONFIGLISTENERS_H
#define IXLAL_PCONFIGLISTENERS_H

#include "IConfigChanged.h"
#include "PBaseptr.h"
#include "portinglayer/PString.h"

#include <map>
#include <vector>

/// The topics of each configuration ID. Not synchronised: the manager guards it with its lock. An
/// announcement is prepared with the lock held and sent without it, because listeners are foreign
/// code.
class PConfigListeners
{
public:
    /// An event and the topics that get it; without topics there is nothing to announce.
    struct Change
    {
        std::vector<PString> topics;
        PBaseptr<IConfigChanged> event;
    };

    /// Adds a topic. Returns 0, or -512 when it is registered already. Throws std::bad_alloc.
    int nl_addListener(const PLiteral& iID, const PLiteral& iTopic);

    /// Removes a topic. Returns 0, or -504 when there is none.
    int nl_removeListener(const PLiteral& iID, const PLiteral& iTopic);

    /// Prepares the announcement of a change of iID. Throws std::bad_alloc.
    void nl_prepareChange(IConfigChanged::EConfigChnagedType iType, const PLiteral& iID,
                          const PLiteral& iKey, const PLiteral& iAttribute, Change& oChange) const;

    /// Sends a change to its topics. Needs no memory: a value that was set is always announced.
    /// The caller must not hold the manager's lock.
    static void _announce(const Change& iChange);

private:
    /// Topics in the order of registration. An ID is present only while it has one.
    std::map<PString, std::vector<PString>, PLiteralLess> fListeners;
};

#endif
