// SPDX-License-Identifier: MIT
/// @file
/// PConfigCommands: the requests about values of the configuration.
#ifndef IXLAL_TOOLS_PCONFIGCOMMANDS_H
#define IXLAL_TOOLS_PCONFIGCOMMANDS_H

#include "control/PControlServices.h"
#include "control/PJsonObject.h"
#include "control/PLoadedKeys.h"
#include "control/PRequest.h"

#include <map>
#include <optional>
#include <set>

/// The text of a value, or of an attribute if iAttribute is not empty; none for an unknown key.
/// Throws PRequestError for any other failure.
std::optional<PString> readValue(const PControlServices& iServices, const PString& iID,
                                 const PString& iKey, const PString& iAttribute);

/// Every operation returns the members of the reply, and throws
/// PRequestError.
class PConfigCommands
{
public:
    explicit PConfigCommands(const PControlServices& iServices);

    PJsonObject get(const PRequest& iRequest) const;
    PJsonObject explain(const PRequest& iRequest);
    PJsonObject describe(const PRequest& iRequest);

    /// The listeners of the ID run before it returns. A value that the declaration of the key
    /// forbids is refused.
    PJsonObject set(const PRequest& iRequest);
    PJsonObject unset(const PRequest& iRequest);

private:
    static constexpr std::size_t kMostKnown = 1024;

    bool isSet(const PString& iID, const PString& iKey) const;
    void rememberSet(const PString& iID, const PString& iKey);
    void forget(const PString& iID, const PString& iKey);

    const PControlServices& fServices;
    PLoadedKeys fKeys;
    std::map<PString, std::set<PString>> fSet; ///< keys by ID
    std::size_t fKnown = 0;
};

#endif
