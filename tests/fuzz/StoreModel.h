// SPDX-License-Identifier: MIT
// StoreModel: a model of the store's content and of its readers' view.
#ifndef IXLAL_TESTS_FUZZ_STOREMODEL_H
#define IXLAL_TESTS_FUZZ_STOREMODEL_H

#include "fuzz/LineModel.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

/// One store file, used by one manager after another. Operations return the codes of the manager's
/// operations.
class StoreModel
{
public:
    /// iOwn has the own values of a configuration that is read.
    explicit StoreModel(const ModelValues& iOwn);

    /// Starts a new manager, which has no store before its first load by ID.
    void restart();
    void load();

    int store(const std::wstring& iID, const std::wstring& iKey, const std::wstring& iValue);
    int storeAttribute(const std::wstring& iID, const std::wstring& iKey,
                       const std::wstring& iAttribute, const std::wstring& iValue);
    int remove(const std::wstring& iID, const std::wstring& iKey);
    int removeAttribute(const std::wstring& iID, const std::wstring& iKey,
                        const std::wstring& iAttribute);

    /// The IDs of the store in order, then those of iListed that are not in the store.
    int list(const std::vector<std::wstring>& iListed, std::vector<std::wstring>& oIDs) const;

    /// Reads from a configuration of iID; iHasOwn says whether it has the own values.
    int read(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey, std::wstring& oValue);
    int readAttribute(const std::wstring& iID, bool iHasOwn, const std::wstring& iKey,
                      const std::wstring& iAttribute, std::wstring& oValue);

    /// A user adds a line to the file, or deletes the file.
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
    bool fLoaded = false;                 ///< whether the manager has loaded an ID
    std::optional<ModelValues> fSnapshot; ///< the store as first read, without removed values
    std::set<std::wstring> fPinned;       ///< records that a reader has found pinned
};

#endif
