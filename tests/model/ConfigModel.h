// SPDX-License-Identifier: MIT
// ConfigModel: the expected behaviour of the configuration manager, in plain maps.
#ifndef IXLAL_TESTS_CONFIGMODEL_H
#define IXLAL_TESTS_CONFIGMODEL_H

#include "model/Fault.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

class ConfigModel
{
public:
    typedef std::vector<std::string> Texts;

    struct Record
    {
        std::string value;
        std::map<std::string, std::string> attributes;
        bool pinned = false;
    };

    typedef std::map<std::string, Record> Records;

    struct Config
    {
        std::string id;
        Records records;
    };

    /// iDir is the configuration directory.
    ConfigModel(std::string iDir, Fault iFault);

    /// Starts a new manager: removes run-time values and registrations, keeps files and store.
    void restart();

    /// The content of files, by path.
    void writeFile(const std::string& iPath, Texts iLines);
    void writeManagerConfig(std::map<std::string, Texts> iFilesOfIds);
    void publish(const std::string& iKey, const std::string& iValue);
    void editStore(const std::string& iText);
    const std::optional<std::string>& storeFile() const;

    int appendById(const std::string& iId, Config& ioConfig);
    int appendByFile(const std::string& iPath, Config& ioConfig);
    int appendByArgs(const Texts& iLines, Config& ioConfig);

    int get(Config& ioConfig, const std::string& iKey, std::string& oValue);
    int getAttribute(Config& ioConfig, const std::string& iKey, const std::string& iAttribute,
                     std::string& oValue);
    int getAttributes(const Config& iConfig, const std::string& iKey, Texts& ioNames);

    int set(const std::string& iId, const std::string& iKey, const std::string& iValue);
    int setAttribute(const std::string& iId, const std::string& iKey, const std::string& iAttribute,
                     const std::string& iValue);
    bool isSet(const std::string& iId, const std::string& iKey);
    int removeSet(const std::string& iId, const std::string& iKey);
    int removeSetAttribute(const std::string& iId, const std::string& iKey,
                           const std::string& iAttribute);

    int store(const std::string& iId, const std::string& iKey, const std::string& iValue);
    int storeAttribute(const std::string& iId, const std::string& iKey,
                       const std::string& iAttribute, const std::string& iValue);
    int removeStored(const std::string& iId, const std::string& iKey);
    int removeStoredAttribute(const std::string& iId, const std::string& iKey,
                              const std::string& iAttribute);
    int listIds(Texts& oIds);

    int addListener(const std::string& iId, const std::string& iTopic);
    int removeListener(const std::string& iId, const std::string& iTopic);
    Texts topics(const std::string& iId) const;

private:
    static bool isForbidden(const std::string& iName);
    static std::string trimmed(const std::string& iText);
    static Texts linesOf(const std::string& iText);
    static bool readsAsTrue(const std::string& iText);

    int parseLine(const std::string& iLine, Records& ioRecords) const;
    int appendLines(const Texts& iLines, Records& ioRecords) const;
    bool isPinned(Record& ioRecord) const;
    Record* findUsed(Config& ioConfig, const std::string& iKey, const std::string& iAttribute);
    Record* findSet(const std::string& iId, const std::string& iKey);
    Record* findStored(const std::string& iId, const std::string& iKey);
    std::string pathOf(const std::string& iName);
    int loadStore(Records& oRecords);
    void saveStore(const Records& iRecords);

    const std::string fDir;
    const Fault fFault;
    std::map<std::string, Texts> fFiles;
    std::map<std::string, Texts> fFilesOfIds;
    std::map<std::string, std::string> fPublished;
    std::map<std::string, Records> fSet;
    std::map<std::string, Texts> fTopics;
    std::optional<std::string> fStoreFile;
    std::optional<Records> fSnapshot;
};

#endif
