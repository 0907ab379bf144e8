// SPDX-License-Identifier: MIT
// PExplanation: explains the value of a key.
#ifndef IXLAL_TOOLS_PEXPLANATION_H
#define IXLAL_TOOLS_PEXPLANATION_H

#include "config/PConfigView.h"
#include "shared/PConfigFile.h"

#include <nlohmann/json.hpp>

#include <map>
#include <ostream>
#include <string>
#include <vector>

/// Every line that names the key, its effect and the reason.
///
/// The core reports the files, their order, the values and the pins. Line numbers and the layout of
/// the store are read from the files. The winning line follows from both and is then compared with
/// the value that the core returns for the ID.
class PExplanation
{
public:
    /// Throws PToolError for an unknown ID and for names that the core refuses.
    PExplanation(const PConfigView& iView, const PString& iID, const PString& iKey);

    /// Whether any line that the core reads names the key.
    bool isFound() const;

    /// Whether any line names the key, even if the core does not read it.
    bool hasLines() const;

    /// The value that the core returns; empty without one.
    const PString& value() const;

    /// Whether a file pins the key, so that no other value is used.
    bool isPinnedByFile() const;

    /// Whether the core returns the values of the winning lines.
    bool agrees() const;

    void print(std::ostream& oStream) const;
    nlohmann::json json() const;

private:
    /// A file of the ID, or the store.
    struct Layer
    {
        PString path;
        bool isStore = false;
        int result = 0;              ///< the core's code for the file
        unsigned int brokenLine = 0; ///< the first line that the core refuses
    };

    /// A line that names the key.
    struct Occurrence
    {
        std::size_t layer = 0;
        unsigned int line = 0;
        PString attribute; ///< empty for the value
        PString text;
        bool isRead = false;
        bool answers = false; ///< it determines what the core returns
        std::string fate;
    };

    /// The result of reading the value or one attribute.
    struct Answer
    {
        const Occurrence* line = nullptr; ///< the winning line; null for none
        int result = 0;                   ///< the core's
        PString text;                     ///< the core's
        bool agrees = false;
    };

    void addFiles(const PConfigView& iView);
    void addStore(const PConfigView& iView);
    void addLines(const PConfigFile& iFile, const PString& iKey, std::size_t iLayer);
    bool isStorePinned(const PConfigView& iView) const;
    bool isStored(const Occurrence& iLine) const;
    bool hasRecord(bool iStored) const;
    Occurrence* candidate(bool iStored, const PString& iAttribute);
    void judge(const PString& iAttribute);
    std::string fateOf(const Occurrence& iLine, const Occurrence* iCandidate) const;
    void ask(const PConfigView& iView);
    void tryRunTime(const PConfigView& iView, IConfig& iConfig);

    std::string where(const Occurrence& iLine) const;
    std::string lineText(const Occurrence& iLine) const;
    std::string reason() const;
    void printLines(std::ostream& oStream) const;
    void printNotes(std::ostream& oStream) const;
    nlohmann::json lineJson(const Occurrence& iLine) const;

    const PString fID;
    const PString fKey;
    std::vector<Layer> fLayers;
    std::vector<Occurrence> fLines;
    bool fOwnPinned = false;
    bool fStorePinned = false;
    bool fRunTimeChanges = false;
    std::map<PString, Answer> fAnswers; ///< by attribute; that of the value is under the empty one
};

#endif
