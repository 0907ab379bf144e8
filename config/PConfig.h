// SPDX-License-Identifier: MIT
// PConfig: a configuration of a PConfigManager.
#ifndef IXLAL_PCONFIG_H
#define IXLAL_PCONFIG_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/PConfigValues.h"
#include "config/PFunctionRef.h"
#include "config/PReadFault.h"
#include "portinglayer/PCounterSync.h"

#include <atomic>

class PConfigManager;

/// Reads its own values and, when it has an ID, the manager's run-time and stored values of that ID
/// (IConfig describes their precedence).
///
/// With an ID, a read is a reader of the manager's reader lock from the lookup until the text is
/// copied, because other threads may remove the records. While that lock is closed, and until the
/// store is read, it holds the manager's lock instead. If that fails, only the own values are read.
/// Without an ID a read takes no lock, and so never waits for files that the manager reads.
class PConfig : public IConfig
{
public:
    /// Holds a reference to iManager, a PConfigManager or null, until its destruction. The ID is
    /// empty for a configuration that has none. Throws std::bad_alloc.
    PConfig(IConfigManager* iManager, const PLiteral& iID);

    PConfig(const PConfig&) = delete;
    PConfig& operator=(const PConfig&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    int getKeys(std::vector<PString>& oKeys) noexcept override;
    int getAttributes(const PLiteral& iKey, std::vector<PString>& oAttributes) noexcept override;

    int getString(const PLiteral& iKey, PString& oValue) noexcept override;
    int getInt32(const PLiteral& iKey, int& oValue) noexcept override;
    int getUint32(const PLiteral& iKey, unsigned int& oValue) noexcept override;
    int getInt64(const PLiteral& iKey, long long& oValue) noexcept override;
    int getUint64(const PLiteral& iKey, unsigned long long& oValue) noexcept override;
    int getBool(const PLiteral& iKey, bool& oValue) noexcept override;
    int getBinary(const PLiteral& iKey, unsigned char*& oData,
                  unsigned int& oSize) noexcept override;

    int getAttrString(const PLiteral& iKey, const PLiteral& iAttribute,
                      PString& oValue) noexcept override;
    int getAttrInt32(const PLiteral& iKey, const PLiteral& iAttribute,
                     int& oValue) noexcept override;
    int getAttrUint32(const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned int& oValue) noexcept override;
    int getAttrInt64(const PLiteral& iKey, const PLiteral& iAttribute,
                     long long& oValue) noexcept override;
    int getAttrUint64(const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned long long& oValue) noexcept override;
    int getAttrBool(const PLiteral& iKey, const PLiteral& iAttribute,
                    bool& oValue) noexcept override;
    int getAttrBinary(const PLiteral& iKey, const PLiteral& iAttribute, unsigned char*& oData,
                      unsigned int& oSize) noexcept override;

    /// Releases the manager first.
    virtual ~PConfig();

    /// The own values, for the manager that fills them. Not synchronised.
    PConfigValues& values() noexcept;

    /// The place where reading the last file into the own values ended early, for the manager. Not
    /// synchronised.
    PReadFault& readFault() noexcept;

    /// Looks a key up in the own values. Returns 0 or -504.
    int __findValue(const PLiteral& iKey, PConfigValue*& oValue) noexcept;

    /// Chooses the record for a read of iKey, or of one of its attributes if iAttribute is not
    /// empty. The caller is a reader of the manager that knows the store, or holds the manager's
    /// lock, while it uses the record. Returns 0 or -504.
    int _findUsedValue(const PLiteral& iKey, const PLiteral& iAttribute,
                       PConfigValue*& oValue) noexcept;

private:
    /// Where the records of a key may come from; null for none.
    struct Records
    {
        PConfigValue* own = nullptr;
        PConfigValue* dynamic = nullptr;
        PConfigValue* stored = nullptr;
    };

    static bool _isPinned(PConfigValue& ioRecord) noexcept;
    static bool _answers(const PConfigValue* iRecord, const PLiteral& iAttribute) noexcept;
    static int _choose(const Records& iRecords, const PLiteral& iAttribute,
                       PConfigValue*& oValue) noexcept;

    /// The manager, for a configuration with an ID; otherwise null.
    PConfigManager* source() const noexcept;
    /// Copies the chosen record.
    typedef PFunctionRef<int(const PConfigValue& iRecord)> Copy;

    int read(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept;
    int readAllowed(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept;
    [[gnu::cold]] int readLocked(const PLiteral& iKey, const PLiteral& iAttribute,
                                 const Copy& iCopy) noexcept;
    ///@{
    /// Copy the record that _findUsedValue chooses, or that of a configuration without sources.
    int copyUsed(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept;
    int copyOwn(const PLiteral& iKey, const PLiteral& iAttribute, const Copy& iCopy) noexcept;
    ///@}

    /// Converts a text.
    typedef PFunctionRef<int(const PLiteral& iText)> Convert;

    /// Reads the value of a key, or an attribute if iAttribute is not null, and converts it.
    int readAs(const PLiteral& iKey, const PLiteral* iAttribute, const Convert& iConvert) noexcept;

    PCounterSync fRefCount;
    PConfigArena fArena; ///< the records of fValues, and the texts of those that were read
    PConfigValues fValues;
    const PString fID;
    const unsigned int fIDHash;
    PBaseptr<IConfigManager> fManager;
    /// Of the ID; null until they are found. Release and acquire order: whoever finds the table
    /// here sees it constructed.
    std::atomic<PConfigValues*> fRunTimeValues{nullptr};
    PReadFault fReadFault;
};

#endif
