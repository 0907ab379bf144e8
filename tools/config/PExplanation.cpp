// SPDX-License-Identifier: MIT
#include "config/PExplanation.h"

#include "Ixla.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <iomanip>
#include <set>

namespace
{
constexpr wchar_t kConst[] = L"const";

bool _isPinned(IConfig& iConfig, const PLiteral& iKey)
{
    bool pinned = false;
    return iConfig.getAttrBool(iKey, kConst, pinned) == 0 && pinned;
}

int _read(IConfig& iConfig, const PLiteral& iKey, const PLiteral& iAttribute, PString& oText)
{
    return iAttribute.len() == 0 ? iConfig.getString(iKey, oText)
                                 : iConfig.getAttrString(iKey, iAttribute, oText);
}
} // namespace

PExplanation::PExplanation(const PConfigView& iView, const PString& iID, const PString& iKey)
    : fID(iID), fKey(iKey)
{
    PString ignored;
    const int result = iView.load(fID)->getString(fKey, ignored);
    if (result != 0 && result != eIxlaNotFound)
    {
        throw PToolError(shownText(fKey) + ": " + ixlaResultText(result));
    }
    addFiles(iView);
    addStore(iView);
    std::set<PString> attributes = {PString()};
    for (const Occurrence& line : fLines)
    {
        attributes.insert(line.attribute);
    }
    for (const PString& attribute : attributes)
    {
        judge(attribute);
    }
    ask(iView);
}

bool PExplanation::isFound() const
{
    return hasRecord(false) || hasRecord(true);
}

bool PExplanation::hasLines() const
{
    return !fLines.empty();
}

const PString& PExplanation::value() const
{
    return fAnswers.at(PString()).text;
}

bool PExplanation::isPinnedByFile() const
{
    return fOwnPinned;
}

bool PExplanation::agrees() const
{
    return fRunTimeChanges == !(fOwnPinned || fStorePinned) &&
           std::all_of(fAnswers.begin(), fAnswers.end(),
                       [](const auto& iAnswer) { return iAnswer.second.agrees; });
}

// Files and store

void PExplanation::addFiles(const PConfigView& iView)
{
    const PBaseptr<IConfig> own = iView.makeEmpty();
    for (const PString& path : iView.filesRead(fID))
    {
        Layer layer;
        layer.path = path;
        layer.result = iView.manager().appendByFile(path, own);
        PConfigFile file;
        // Ignored: layer.result has the code of the core.
        static_cast<void>(file.read(path));
        layer.brokenLine = layer.result == eIxlaBadConfigLine ? file.brokenLine() : 0;
        fLayers.push_back(layer);
        addLines(file, fKey, fLayers.size() - 1);
    }
    fOwnPinned = _isPinned(*own, fKey);
}

void PExplanation::addStore(const PConfigView& iView)
{
    if (!iView.hasStore())
    {
        return;
    }
    Layer layer;
    layer.path = iView.places().storePath();
    layer.isStore = true;
    PBaseptr<IConfig> store;
    layer.result = iView.manager().loadByFile(layer.path, store);
    PConfigFile file;
    static_cast<void>(file.read(layer.path)); // layer.result has the code
    layer.brokenLine = layer.result == eIxlaBadConfigLine ? file.brokenLine() : 0;
    fLayers.push_back(layer);
    PString key(fID);
    key += L"|";
    key += fKey;
    addLines(file, key, fLayers.size() - 1);
    fStorePinned = isStorePinned(iView);
}

void PExplanation::addLines(const PConfigFile& iFile, const PString& iKey, std::size_t iLayer)
{
    const Layer& layer = fLayers[iLayer];
    for (const ConfigLine& line : iFile.lines())
    {
        if (line.kind != ConfigLine::eEntry || line.key.text != iKey)
        {
            continue;
        }
        Occurrence found;
        found.layer = iLayer;
        found.line = line.number;
        found.attribute = line.attribute.text;
        found.text = line.value.text;
        // The core uses the entries before a broken line of a file, but no entry of such a store.
        found.isRead = layer.result == 0 || (!layer.isStore && iFile.isRead(line));
        fLines.push_back(found);
    }
}

/// Keys of the store contain a "|" and cannot be read. Its lines are therefore passed as arguments
/// without the ID.
bool PExplanation::isStorePinned(const PConfigView& iView) const
{
    std::vector<PString> lines;
    for (const Occurrence& line : fLines)
    {
        if (isStored(line) && line.isRead)
        {
            PString text(fKey);
            text += line.attribute.len() > 0 ? L":" : L"";
            text += line.attribute;
            text += L"=";
            text += line.text;
            lines.push_back(text);
        }
    }
    PBaseptr<IConfig> stored;
    return !lines.empty() && iView.manager().loadByArgs(lines, stored) == 0 &&
           _isPinned(*stored, fKey);
}

// Precedence

bool PExplanation::isStored(const Occurrence& iLine) const
{
    return fLayers[iLine.layer].isStore;
}

bool PExplanation::hasRecord(bool iStored) const
{
    return std::any_of(fLines.begin(), fLines.end(),
                       [&](const Occurrence& iLine)
                       { return iLine.isRead && isStored(iLine) == iStored; });
}

/// The line that defines the value or the attribute in the files, or in the store: the last value,
/// the first text of an attribute. Null for none.
PExplanation::Occurrence* PExplanation::candidate(bool iStored, const PString& iAttribute)
{
    Occurrence* found = nullptr;
    for (Occurrence& line : fLines)
    {
        const bool counts =
            line.isRead && isStored(line) == iStored && line.attribute == iAttribute;
        if (counts && (!found || iAttribute.len() == 0))
        {
            found = &line;
        }
    }
    return found;
}

void PExplanation::judge(const PString& iAttribute)
{
    Occurrence* const own = candidate(false, iAttribute);
    Occurrence* const stored = candidate(true, iAttribute);
    const bool storeAnswers =
        !fOwnPinned &&
        (fStorePinned || (iAttribute.len() == 0 ? hasRecord(true) : stored != nullptr));
    Occurrence* const chosen = storeAnswers ? stored : own;
    if (chosen)
    {
        chosen->answers = true;
    }
    fAnswers[iAttribute].line = chosen;
    for (Occurrence& line : fLines)
    {
        if (line.attribute == iAttribute)
        {
            line.fate = fateOf(line, isStored(line) ? stored : own);
        }
    }
}

/// The effect of a line; iCandidate is the line that defines the value in its kind of layer.
std::string PExplanation::fateOf(const Occurrence& iLine, const Occurrence* iCandidate) const
{
    const Layer& layer = fLayers[iLine.layer];
    if (!iLine.isRead)
    {
        return "not read because of line " + std::to_string(layer.brokenLine);
    }
    if (&iLine != iCandidate)
    {
        return (iLine.attribute.len() == 0 ? "replaced by " : "ignored: given first by ") +
               where(*iCandidate);
    }
    if (!iLine.answers)
    {
        return layer.isStore ? "hidden: a file pins the key with const" : "hidden by the store";
    }
    return "wins";
}

// Values of the core

void PExplanation::ask(const PConfigView& iView)
{
    const PBaseptr<IConfig> config = iView.load(fID);
    for (auto& [attribute, answer] : fAnswers)
    {
        answer.result = _read(*config, fKey, attribute, answer.text);
        const bool given = answer.line || (attribute.len() == 0 && isFound());
        answer.agrees = given ? answer.result == 0 &&
                                    answer.text == (answer.line ? answer.line->text : PString())
                              : answer.result == eIxlaNotFound;
    }
    tryRunTime(iView, *config);
}

void PExplanation::tryRunTime(const PConfigView& iView, IConfig& iConfig)
{
    PString other(fAnswers[PString()].text);
    other += L"?";
    PConfigView::require(iView.manager().setString(fID, fKey, other), shownText(fKey));
    PString now;
    fRunTimeChanges = iConfig.getString(fKey, now) == 0 && now == other;
    PConfigView::require(iView.manager().removeSetKey(fID, fKey), shownText(fKey));
}

// Output

std::string PExplanation::where(const Occurrence& iLine) const
{
    return shownText(fLayers[iLine.layer].path) + ":" + std::to_string(iLine.line);
}

std::string PExplanation::lineText(const Occurrence& iLine) const
{
    const std::string name =
        shownText(fKey) + (iLine.attribute.len() > 0 ? ":" : "") + shownText(iLine.attribute);
    return name + " = " + shownText(iLine.text);
}

std::string PExplanation::reason() const
{
    const Occurrence* const line = fAnswers.at(PString()).line;
    const std::string who = line ? where(*line) : "A key with nothing but attributes";
    const std::string what = line ? " wins" : " has an empty value";
    if (fOwnPinned)
    {
        return who + what + ": the files pin the key with const, so no other value is used.\n" +
               "A value set at run time changes nothing.";
    }
    if (fStorePinned)
    {
        return who + what + ": the store pins the key with const, and no file does.\n" +
               "A value set at run time changes nothing.";
    }
    if (!isFound())
    {
        return "No line that the core reads names the key. A value set at run time would win.";
    }
    const std::string why = hasRecord(true) ? ": the store comes before the files, and none of "
                                              "them pins the key with const."
                                            : ": the last value in the files, and the store "
                                              "has none.";
    return who + what + why + "\nA value set at run time would win; what a running process has " +
           "set cannot be seen from outside.";
}

void PExplanation::print(std::ostream& oStream) const
{
    const Answer& value = fAnswers.at(PString());
    oStream << shownText(fID) << ' ' << shownText(fKey) << " = "
            << (value.result == 0 ? shownText(value.text) : ixlaResultText(value.result)) << "\n\n";
    printLines(oStream);
    oStream << '\n' << reason() << '\n';
    printNotes(oStream);
}

void PExplanation::printLines(std::ostream& oStream) const
{
    std::size_t placeWidth = 0;
    std::size_t textWidth = 0;
    for (const Occurrence& line : fLines)
    {
        placeWidth = std::max(placeWidth, where(line).size());
        textWidth = std::max(textWidth, lineText(line).size());
    }
    oStream << std::left;
    for (const Occurrence& line : fLines)
    {
        oStream << (line.answers ? "* " : "  ") << std::setw(static_cast<int>(placeWidth) + 2)
                << where(line) << std::setw(static_cast<int>(textWidth) + 2) << lineText(line)
                << line.fate << '\n';
    }
}

void PExplanation::printNotes(std::ostream& oStream) const
{
    for (const Layer& layer : fLayers)
    {
        if (layer.result != 0)
        {
            oStream << "Note: " << shownText(layer.path);
            oStream << (layer.brokenLine ? ":" + std::to_string(layer.brokenLine) : std::string());
            oStream << ": " << ixlaResultText(layer.result) << '\n';
        }
    }
    for (const auto& [attribute, answer] : fAnswers)
    {
        if (!answer.agrees)
        {
            oStream << "DIFFERENCE: asked for "
                    << (attribute.len() > 0 ? "attribute " + quotedText(attribute) : "the value")
                    << ", the core answers "
                    << (answer.result == 0 ? quotedText(answer.text)
                                           : ixlaResultText(answer.result))
                    << '\n';
        }
    }
}

nlohmann::json PExplanation::lineJson(const Occurrence& iLine) const
{
    nlohmann::json attribute;
    if (iLine.attribute.len() > 0)
    {
        attribute = utf8Text(iLine.attribute);
    }
    return {{"layer", isStored(iLine) ? "store" : "file"},
            {"file", utf8Text(fLayers[iLine.layer].path)},
            {"line", iLine.line},
            {"attribute", attribute},
            {"text", utf8Text(iLine.text)},
            {"answers", iLine.answers},
            {"fate", iLine.fate}};
}

nlohmann::json PExplanation::json() const
{
    nlohmann::json layers = nlohmann::json::array();
    for (const Layer& layer : fLayers)
    {
        layers.push_back({{"layer", layer.isStore ? "store" : "file"},
                          {"file", utf8Text(layer.path)},
                          {"result", layer.result}});
    }
    nlohmann::json lines = nlohmann::json::array();
    for (const Occurrence& line : fLines)
    {
        lines.push_back(lineJson(line));
    }
    const Answer& value = fAnswers.at(PString());
    return {{"id", utf8Text(fID)},
            {"key", utf8Text(fKey)},
            {"value", utf8Text(value.text)},
            {"layers", layers},
            {"lines", lines},
            {"pinned", fOwnPinned     ? "file"
                       : fStorePinned ? "store"
                                      : "no"},
            {"runTimeValueWins", fRunTimeChanges},
            {"agreesWithCore", agrees()}};
}
