// SPDX-License-Identifier: MIT
#include "model/ConfigModel.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <utility>

namespace
{
constexpr const char* kBlanks = " \t\n\v\f\r";
constexpr const char* kGlobal = "ixlap.global";

constexpr int kNotFound = -504;
constexpr int kBadLine = -3001;
constexpr int kNoValue = -3002;
constexpr int kForbidden = -3004;
} // namespace

ConfigModel::ConfigModel(std::string iDir, Fault iFault) : fDir(std::move(iDir)), fFault(iFault)
{
}

void ConfigModel::restart()
{
    fSet.clear();
    fTopics.clear();
    for (const auto& [key, value] : fPublished)
    {
        fSet[kGlobal][key].value = value;
    }
    // The logging service reads its settings by ID during the start, so the store is read then.
    fSnapshot.reset();
    findStored(kGlobal, "");
}

void ConfigModel::writeFile(const std::string& iPath, Texts iLines)
{
    fFiles[iPath] = std::move(iLines);
}

void ConfigModel::writeManagerConfig(std::map<std::string, Texts> iFilesOfIds)
{
    fFilesOfIds = std::move(iFilesOfIds);
}

void ConfigModel::publish(const std::string& iKey, const std::string& iValue)
{
    fPublished[iKey] = iValue;
}

void ConfigModel::editStore(const std::string& iText)
{
    fStoreFile = iText;
}

const std::optional<std::string>& ConfigModel::storeFile() const
{
    return fStoreFile;
}

int ConfigModel::appendById(const std::string& iId, Config& ioConfig)
{
    if (isForbidden(iId))
    {
        return kForbidden;
    }
    const auto files = fFilesOfIds.find(iId);
    if (files != fFilesOfIds.end())
    {
        for (const std::string& name : files->second)
        {
            // A missing or broken file loses only its own entries.
            static_cast<void>(appendByFile(pathOf(name), ioConfig));
        }
    }
    return 0;
}

int ConfigModel::appendByFile(const std::string& iPath, Config& ioConfig)
{
    const auto file = fFiles.find(iPath);
    return file == fFiles.end() ? -2 : appendLines(file->second, ioConfig.records);
}

/// Parses lines as those of a file: without comments and blank lines, up to the first bad one.
int ConfigModel::appendLines(const Texts& iLines, Records& ioRecords) const
{
    for (const std::string& line : iLines)
    {
        const std::string text = trimmed(line);
        if (text.empty() || text.front() == '#')
        {
            continue;
        }
        const int result = parseLine(text, ioRecords);
        if (result != 0)
        {
            return result;
        }
    }
    return 0;
}

int ConfigModel::appendByArgs(const Texts& iLines, Config& ioConfig)
{
    if (iLines.empty())
    {
        return -502;
    }
    for (const std::string& line : iLines)
    {
        const int result = parseLine(line, ioConfig.records);
        if (result != 0)
        {
            return result;
        }
    }
    return 0;
}

int ConfigModel::parseLine(const std::string& iLine, Records& ioRecords) const
{
    const std::size_t equals = iLine.find('=');
    if (equals == std::string::npos)
    {
        return kBadLine;
    }
    const std::string name = trimmed(iLine.substr(0, equals));
    const std::string value = trimmed(iLine.substr(equals + 1));
    const std::size_t colon = name.find(':');
    const std::string key = trimmed(name.substr(0, colon));
    const std::string attribute = colon == std::string::npos ? "" : trimmed(name.substr(colon + 1));
    if (key.empty())
    {
        return kBadLine;
    }
    Record& record = ioRecords[key];
    if (attribute.empty())
    {
        const bool stays = fFault == Fault::eFirstOwnValueWins && !record.value.empty();
        record.value = stays ? record.value : value;
    }
    else
    {
        record.attributes.emplace(attribute, value);
    }
    return 0;
}

int ConfigModel::get(Config& ioConfig, const std::string& iKey, std::string& oValue)
{
    if (isForbidden(iKey))
    {
        return kForbidden;
    }
    const Record* const used = findUsed(ioConfig, iKey, "");
    if (!used)
    {
        return kNotFound;
    }
    oValue = used->value;
    return 0;
}

int ConfigModel::getAttribute(Config& ioConfig, const std::string& iKey,
                              const std::string& iAttribute, std::string& oValue)
{
    if (isForbidden(iKey) || isForbidden(iAttribute))
    {
        return kForbidden;
    }
    const Record* const used = findUsed(ioConfig, iKey, iAttribute);
    if (!used || used->attributes.count(iAttribute) == 0)
    {
        return kNotFound;
    }
    oValue = used->attributes.at(iAttribute);
    return 0;
}

int ConfigModel::getAttributes(const Config& iConfig, const std::string& iKey, Texts& ioNames)
{
    if (isForbidden(iKey))
    {
        return kForbidden;
    }
    const auto own = iConfig.records.find(iKey);
    if (own == iConfig.records.end())
    {
        return kNotFound;
    }
    for (const auto& entry : own->second.attributes)
    {
        ioNames.push_back(entry.first);
    }
    return 0;
}

ConfigModel::Record* ConfigModel::findUsed(Config& ioConfig, const std::string& iKey,
                                           const std::string& iAttribute)
{
    const auto found = ioConfig.records.find(iKey);
    Record* const own = found == ioConfig.records.end() ? nullptr : &found->second;
    Record* const set = ioConfig.id.empty() ? nullptr : findSet(ioConfig.id, iKey);
    Record* const stored = ioConfig.id.empty() ? nullptr : findStored(ioConfig.id, iKey);
    const auto answers = [&iAttribute](const Record* iRecord)
    {
        return iRecord && (iAttribute.empty() || iRecord->attributes.count(iAttribute) > 0);
    };
    if (fFault == Fault::eRunTimeBeatsPinned && answers(set))
    {
        return set;
    }
    if (own && isPinned(*own))
    {
        return own;
    }
    if (stored && fFault != Fault::eStoredPinIgnored && isPinned(*stored))
    {
        return stored;
    }
    for (Record* const record : {set, stored, own})
    {
        if (answers(record))
        {
            return record;
        }
    }
    return nullptr;
}

/// A record that was read as pinned stays pinned.
bool ConfigModel::isPinned(Record& ioRecord) const
{
    const auto attribute = ioRecord.attributes.find("const");
    const bool now = attribute != ioRecord.attributes.end() && readsAsTrue(attribute->second);
    if (fFault == Fault::ePinForgotten)
    {
        return now;
    }
    ioRecord.pinned = ioRecord.pinned || now;
    return ioRecord.pinned;
}

ConfigModel::Record* ConfigModel::findSet(const std::string& iId, const std::string& iKey)
{
    const auto table = fSet.find(iId);
    if (table == fSet.end())
    {
        return nullptr;
    }
    const auto record = table->second.find(iKey);
    return record == table->second.end() ? nullptr : &record->second;
}

ConfigModel::Record* ConfigModel::findStored(const std::string& iId, const std::string& iKey)
{
    Records loaded;
    if ((!fSnapshot || fFault == Fault::eStoredSeenAtOnce) && loadStore(loaded) == 0)
    {
        fSnapshot = loaded;
    }
    if (!fSnapshot)
    {
        return nullptr;
    }
    const auto record = fSnapshot->find(iId + "|" + iKey);
    return record == fSnapshot->end() ? nullptr : &record->second;
}

/// A run-time value of the global ID may redirect a file.
std::string ConfigModel::pathOf(const std::string& iName)
{
    const Record* const redirection = findSet(kGlobal, "custom.config." + iName);
    const std::string candidate = redirection ? redirection->value : iName;
    return candidate.find('/') == std::string::npos ? fDir + "/" + candidate : candidate;
}

int ConfigModel::set(const std::string& iId, const std::string& iKey, const std::string& iValue)
{
    if (isForbidden(iId) || isForbidden(iKey))
    {
        return kForbidden;
    }
    Records& table = fSet[iId];
    if (table.count(iKey) == 0 || fFault == Fault::eLastRunTimeWins)
    {
        table[iKey].value = iValue;
    }
    return 0;
}

int ConfigModel::setAttribute(const std::string& iId, const std::string& iKey,
                              const std::string& iAttribute, const std::string& iValue)
{
    if (isForbidden(iId) || isForbidden(iKey) || isForbidden(iAttribute))
    {
        return kForbidden;
    }
    Record* const record = findSet(iId, iKey);
    if (!record)
    {
        return kNoValue;
    }
    if (fFault == Fault::eLastAttributeWins)
    {
        record->attributes.erase(iAttribute);
    }
    record->attributes.emplace(iAttribute, iValue);
    return 0;
}

bool ConfigModel::isSet(const std::string& iId, const std::string& iKey)
{
    return findSet(iId, iKey) != nullptr;
}

int ConfigModel::removeSet(const std::string& iId, const std::string& iKey)
{
    if (isForbidden(iId) || isForbidden(iKey))
    {
        return kForbidden;
    }
    fSet[iId].erase(iKey);
    return 0;
}

int ConfigModel::removeSetAttribute(const std::string& iId, const std::string& iKey,
                                    const std::string& iAttribute)
{
    if (isForbidden(iId) || isForbidden(iKey) || isForbidden(iAttribute))
    {
        return kForbidden;
    }
    if (Record* const record = findSet(iId, iKey))
    {
        record->attributes.erase(iAttribute);
    }
    return 0;
}

int ConfigModel::store(const std::string& iId, const std::string& iKey, const std::string& iValue)
{
    if (isForbidden(iId) || isForbidden(iKey))
    {
        return kForbidden;
    }
    Records stored;
    const int result = loadStore(stored);
    if (result == 0)
    {
        stored[iId + "|" + iKey].value = iValue;
        saveStore(stored);
    }
    return result;
}

int ConfigModel::storeAttribute(const std::string& iId, const std::string& iKey,
                                const std::string& iAttribute, const std::string& iValue)
{
    if (isForbidden(iId) || isForbidden(iKey) || isForbidden(iAttribute))
    {
        return kForbidden;
    }
    Records stored;
    const int result = loadStore(stored);
    if (result != 0)
    {
        return result;
    }
    const auto record = stored.find(iId + "|" + iKey);
    if (record == stored.end())
    {
        return kNoValue;
    }
    record->second.attributes.emplace(iAttribute, iValue);
    saveStore(stored);
    return 0;
}

int ConfigModel::removeStored(const std::string& iId, const std::string& iKey)
{
    if (isForbidden(iId) || isForbidden(iKey))
    {
        return kForbidden;
    }
    Records stored;
    const int result = loadStore(stored);
    if (result != 0)
    {
        return result;
    }
    stored.erase(iId + "|" + iKey);
    if (fSnapshot && fFault != Fault::eRemovalSeenLater)
    {
        fSnapshot->erase(iId + "|" + iKey);
    }
    saveStore(stored);
    return 0;
}

int ConfigModel::removeStoredAttribute(const std::string& iId, const std::string& iKey,
                                       const std::string& iAttribute)
{
    if (isForbidden(iId) || isForbidden(iKey) || isForbidden(iAttribute))
    {
        return kForbidden;
    }
    Records stored;
    const int result = loadStore(stored);
    if (result != 0)
    {
        return result;
    }
    const std::string name = iId + "|" + iKey;
    for (Records* const records : {&stored, fSnapshot ? &*fSnapshot : nullptr})
    {
        if (records && records->count(name) > 0)
        {
            (*records)[name].attributes.erase(iAttribute);
        }
    }
    saveStore(stored);
    return 0;
}

int ConfigModel::listIds(Texts& oIds)
{
    oIds.clear();
    Records stored;
    const int result = loadStore(stored);
    if (result != 0)
    {
        return result;
    }
    const auto add = [&oIds](const std::string& iId)
    {
        if (std::find(oIds.begin(), oIds.end(), iId) == oIds.end())
        {
            oIds.push_back(iId);
        }
    };
    for (const auto& entry : stored)
    {
        const std::size_t bar = entry.first.find('|');
        if (bar != std::string::npos)
        {
            add(entry.first.substr(0, bar));
        }
    }
    for (const auto& entry : fFilesOfIds)
    {
        add(entry.first);
    }
    return 0;
}

int ConfigModel::addListener(const std::string& iId, const std::string& iTopic)
{
    Texts& topics = fTopics[iId];
    if (std::find(topics.begin(), topics.end(), iTopic) != topics.end())
    {
        return -512;
    }
    topics.push_back(iTopic);
    return 0;
}

int ConfigModel::removeListener(const std::string& iId, const std::string& iTopic)
{
    return std::erase(fTopics[iId], iTopic) > 0 ? 0 : kNotFound;
}

ConfigModel::Texts ConfigModel::topics(const std::string& iId) const
{
    const auto found = fTopics.find(iId);
    return found == fTopics.end() ? Texts() : found->second;
}

int ConfigModel::loadStore(Records& oRecords)
{
    if (!fStoreFile)
    {
        fStoreFile = "";
    }
    return appendLines(linesOf(*fStoreFile), oRecords);
}

void ConfigModel::saveStore(const Records& iRecords)
{
    std::string& file = fStoreFile.emplace();
    for (const auto& [key, record] : iRecords)
    {
        file.append(key).append(" = ").append(record.value).append("\n");
        for (const auto& [attribute, text] : record.attributes)
        {
            file.append(key).append(":").append(attribute).append(" = ").append(text).append("\n");
        }
    }
}

bool ConfigModel::isForbidden(const std::string& iName)
{
    return iName.find_first_of("=:|") != std::string::npos;
}

std::string ConfigModel::trimmed(const std::string& iText)
{
    const std::size_t first = iText.find_first_not_of(kBlanks);
    return first == std::string::npos
               ? ""
               : iText.substr(first, iText.find_last_not_of(kBlanks) - first + 1);
}

ConfigModel::Texts ConfigModel::linesOf(const std::string& iText)
{
    Texts lines;
    std::istringstream text(iText);
    for (std::string line; std::getline(text, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

bool ConfigModel::readsAsTrue(const std::string& iText)
{
    std::string text = trimmed(iText);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char iChar) { return std::tolower(iChar); });
    return text == "1" || text == "true" || text == "yes" || text == "on";
}
