// SPDX-License-Identifier: MIT
// PDeclarations: the configuration keys that plugin libraries declare.
#ifndef IXLAL_TOOLS_PDECLARATIONS_H
#define IXLAL_TOOLS_PDECLARATIONS_H

#include "shared/DeclaredKey.h"
#include "shared/PPluginNotes.h"

#include <map>
#include <string>
#include <vector>

/// What is declared for one configuration ID.
struct DeclaredConfig
{
    std::vector<std::string> libraries; ///< the paths of those that declare keys
    std::vector<DeclaredKey> keys;      ///< in the order of their declaration

    /// Null for a key that is not declared.
    const DeclaredKey* find(const std::string& iKey) const;

    std::vector<std::string> names() const;
};

/// Collects the declarations of libraries, whose code never runs. Several libraries, and several
/// sources of one, may declare keys of the same ID.
class PDeclarations
{
public:
    /// Adds the library at iPath, or each library of that directory, in ascending order. Returns an
    /// empty text, or why nothing can be read there. Other files of a directory are skipped.
    std::string add(const std::string& iPath);

    /// Adds the notes of a library.
    void add(const std::string& iLibrary, const PPluginNotes& iNotes);

    /// Null for an ID without declarations.
    const DeclaredConfig* find(const std::string& iID) const;

    /// Null for a key that is not declared.
    const DeclaredKey* findKey(const std::string& iID, const std::string& iKey) const;

    /// In ascending order.
    std::vector<std::string> ids() const;

    /// What is wrong with the notes: one line each, which begins with the path of the library.
    const std::vector<std::string>& damage() const;

private:
    std::string addDirectory(const std::string& iPath);
    void addKeys(const std::string& iLibrary, const PluginNote& iNote);
    void addKey(const std::string& iLibrary, const std::string& iID, const DeclaredKey& iKey);

    std::map<std::string, DeclaredConfig> fConfigs;
    std::vector<std::string> fDamage;
};

#endif
