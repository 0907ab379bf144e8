// SPDX-License-Identifier: MIT
// StoreModel: what a store holds and what readers see of it, in memory.
#ifndef IXLAL_TESTS_FUZZ_STOREMODEL_H
#define IXLAL_TESTS_FUZZ_STOREMODEL_H

#include "fuzz/LineModel.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

/// One store file, and one manager after the other that uses it. Operations return the code that
/// the manager's return.
class StoreModel
{
public:
    /// iOwn are the values that the files of a read configuration bring along.
    explicit StoreModel(const ModelValues& iOwn);

    /// A new manager, which knows no store before its first load by ID.
    void restart();
    void load();

    int store(const std::wstring& iID, const std::wstring& iKey, const std::wstring& iValue);
    int storeAttribute(const std::wstring& iID, const std::wstring& iKey,
                       const std::wstring& iAttribute, const std::wstring& iValue);
    int remove(const std::wstring& iID, const std::wstring& iKey);
    int removeAttribute(const std::wstring& iID, const std::wstring& iKey,
                        const std::wstring& iAttribute);

    /// The IDs of the store in order, then those of iListed that it lacks.
    int list(const std::vector<std::wstring>& iListed, std::vector<std::wstring>& oIDs) const;

    /// Reads of a configuration of iID; iHasOwn tells whether it has the own values.
    int read(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey, std::wstring& oValue);
    int readAttribute(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey,
                      const std::wstring& iAttribute, std::wstring& oValue);

    /// Somebody adds a line to the file, or deletes the file.
    void addLine(const std::wstring& iLine);
    void deleteFile();

    const std::vector<std::wstring>& lines() const
    {
        return fLines;
    }

private:
    int parse(ModelValues& oValues) const;
    void save(const ModelValues& iValues);
    const ModelRecord* choose(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey,
                              const std::wstring* iAttribute);
    static bool _isPinned(const ModelRecord& iRecord);

    const ModelValues fOwn;
    std::vector<std::wstring> fLines;     ///< of the file
    bool fLoaded = false;                 ///< whether the manager knows its store
    std::optional<ModelValues> fSnapshot; ///< as first read, less removals
    std::set<std::wstring> fPinned;       ///< records that were seen pinned
};

#endif
