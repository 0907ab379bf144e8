// SPDX-License-Identifier: MIT
// PTypedConfigManager: the operations of a configuration manager that take typed values.
#ifndef IXLAL_PTYPEDCONFIGMANAGER_H
#define IXLAL_PTYPEDCONFIGMANAGER_H

#include "IConfigManager.h"
#include "config/PFunctionRef.h"

/// Converts each value to its text form and calls the text operation of the same name, as its class
/// overrides it. Returns the result of the conversion when that fails. It has no data and takes no
/// lock.
class PTypedConfigManager : public IConfigManager
{
public:
    PTypedConfigManager(const PTypedConfigManager&) = delete;
    PTypedConfigManager& operator=(const PTypedConfigManager&) = delete;

    int setInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) override;
    int setUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) override;
    int setInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) override;
    int setUint64(const PLiteral& iID, const PLiteral& iKey, unsigned long long iValue) override;
    int setBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) override;
    int setBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                  unsigned int iSize) override;

    int setAttrInt32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                     int iValue) override;
    int setAttrUint32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned int iValue) override;
    int setAttrInt64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                     long long iValue) override;
    int setAttrUint64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      unsigned long long iValue) override;
    int setAttrBool(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                    bool iValue) override;
    int setAttrBinary(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      const unsigned char* iData, unsigned int iSize) override;

    int storeInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) noexcept override;
    int storeUint32(const PLiteral& iID, const PLiteral& iKey,
                    unsigned int iValue) noexcept override;
    int storeInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) noexcept override;
    int storeUint64(const PLiteral& iID, const PLiteral& iKey,
                    unsigned long long iValue) noexcept override;
    int storeBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) noexcept override;
    int storeBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                    unsigned int iSize) noexcept override;

    int storeAttrInt32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                       int iValue) noexcept override;
    int storeAttrUint32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        unsigned int iValue) noexcept override;
    int storeAttrInt64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                       long long iValue) noexcept override;
    int storeAttrUint64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        unsigned long long iValue) noexcept override;
    int storeAttrBool(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      bool iValue) noexcept override;
    int storeAttrBinary(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        const unsigned char* iData, unsigned int iSize) noexcept override;

protected:
    PTypedConfigManager() noexcept = default;
    ~PTypedConfigManager() = default;

private:
    typedef int (IConfigManager::*TextOperation)(const PLiteral&, const PLiteral&, const PLiteral&);
    typedef int (IConfigManager::*AttrTextOperation)(const PLiteral&, const PLiteral&,
                                                     const PLiteral&, const PLiteral&);

    /// Writes the text form of a value. Returns 0 or the code of the porting layer.
    typedef PFunctionRef<int(PString&)> Convert;

    int put(const Convert& iConvert, TextOperation iOperation, const PLiteral& iID,
            const PLiteral& iKey);
    int putAttr(const Convert& iConvert, AttrTextOperation iOperation, const PLiteral& iID,
                const PLiteral& iKey, const PLiteral& iAttribute);

    template <auto* tConvert, class... TValue>
    int putAs(TextOperation iOperation, const PLiteral& iID, const PLiteral& iKey,
              TValue... iValue);
    template <auto* tConvert, class... TValue>
    int putAttrAs(AttrTextOperation iOperation, const PLiteral& iID, const PLiteral& iKey,
                  const PLiteral& iAttribute, TValue... iValue);
};

#endif
