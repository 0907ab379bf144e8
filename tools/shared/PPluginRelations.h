// SPDX-License-Identifier: MIT
// PPluginRelations: whether plugins fit together, and to a core, before it starts.
#ifndef IXLAL_TOOLS_PPLUGINRELATIONS_H
#define IXLAL_TOOLS_PPLUGINRELATIONS_H

#include "shared/PPluginInfo.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// A library that a core would load.
struct PluginLibrary
{
    std::string name;
    std::optional<PPluginInfo> info; ///< none for a plugin that says nothing
};

/// Judges the plugin information of the libraries of a core. A library without one may offer any
/// interface.
class PPluginRelations
{
public:
    enum EKind
    {
        eMissing,
        eOfferedTwice,
        eCircle,
        eOldCore
    };

    struct Finding
    {
        EKind kind;
        std::string id;   ///< of the interface; empty for eCircle and eOldCore
        std::string text; ///< for one line of a terminal: what is wrong, and what to do
    };

    /// iLibraries is in the order in which the core loads them; it is borrowed and must outlive the
    /// object.
    explicit PPluginRelations(const std::vector<PluginLibrary>& iLibraries);

    /// Everything that is certain, in the order of the kinds. iCore is the version of the core.
    std::vector<Finding> check(const std::string& iCore) const;

    /// Interfaces that are required, but not named as offered by any library. They are missing,
    /// unless a library without plugin information offers them.
    std::vector<Finding> missing() const;

    /// Whether every library has plugin information, so that missing() is certain.
    bool isEachKnown() const;

private:
    void checkOffers(std::vector<Finding>& ioFound) const;
    void checkCircles(std::vector<Finding>& ioFound) const;
    void checkCores(const std::string& iCore, std::vector<Finding>& ioFound) const;
    /// The libraries that one needs, each with the interface; those without plugin information are
    /// not known.
    std::map<std::size_t, std::string> needsOf(std::size_t iLibrary) const;
    /// The shortest circle from a library to itself; empty for none.
    std::vector<std::size_t> circleOf(std::size_t iLibrary) const;
    std::string textOf(const std::vector<std::size_t>& iCircle) const;

    const std::vector<PluginLibrary>& fLibraries;
    std::map<std::string, std::size_t> fOwners; ///< the first library that offers an interface
};

#endif
