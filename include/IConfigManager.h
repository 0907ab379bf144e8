// SPDX-License-Identifier: MIT
// IConfigManager: loads configurations, holds run-time and stored values, announces changes.
#ifndef IXLAL_ICONFIGMANAGER_H
#define IXLAL_ICONFIGMANAGER_H

#include "IBase.h"
#include "IConfig.h"
#include "PBaseptr.h"
#include "portinglayer/PString.h"
#include "portinglayer/PVectorLayout.h"

#include <vector>

/// The configuration manager. Interface ID kIxlaConfigManagerId.
///
/// IDs, keys and attribute names must not hold "=", ":" or "|" (-3004). Every operation may be
/// called from any thread, also from within a listener. The manager's lock is held while its
/// tables or files are used and never while a listener runs.
///
/// Every operation returns -501 for lack of memory. Nothing has changed then, with two exceptions:
/// an append operation keeps the complete lines or arguments before the one that failed, and
/// listIDs empties oIDs.
class IConfigManager : public IBase
{
public:
    /// Replaces oIDs by the IDs that have stored values, then those that have files, each once.
    /// Returns 0, or with an empty oIDs -2002 before the first load by ID, -3003 without a store
    /// file in the manager's configuration, -501, or the code of a file. [any thread]
    virtual int listIDs(std::vector<PString>& oIDs) = 0;

    ///@{
    /// Create a configuration in oConfig: from the files of an ID, from one file, or from arguments
    /// of the form key=value or key:attribute=value. An ID that is not listed gives an empty
    /// configuration. The array form reads iCount texts from iArgs. oConfig is unchanged on
    /// failure. Return 0, -502 for no arguments, -3001 for a line without "=" or with an empty key,
    /// or the code of opening the file. [any thread]
    virtual int loadByID(const PLiteral& iID, PBaseptr<IConfig>& oConfig) = 0;
    virtual int loadByFile(const PLiteral& iFile, PBaseptr<IConfig>& oConfig) = 0;
    virtual int loadByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig>& oConfig) = 0;
    virtual int loadByArgs(const PString* iArgs, unsigned int iCount,
                           PBaseptr<IConfig>& oConfig) = 0;
    ///@}

    ///@{
    /// Read the same sources into ioConfig, which this manager created. A later value of a key
    /// replaces an earlier one; of an attribute the first value stays. Everything read before a
    /// failure stays. Return the codes of the load operations, and -502 for an empty ioConfig,
    /// except by ID. No other thread may use the configuration during the call. [any thread]
    virtual int appendByID(const PLiteral& iID, PBaseptr<IConfig> ioConfig) = 0;
    virtual int appendByFile(const PLiteral& iFile, PBaseptr<IConfig> ioConfig) = 0;
    virtual int appendByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig> ioConfig) = 0;
    virtual int appendByArgs(const PString* iArgs, unsigned int iCount,
                             PBaseptr<IConfig> ioConfig) = 0;
    ///@}

    /// Sets the run-time value of a key that has none. An existing run-time value stays, and the
    /// call still succeeds; remove the value first to change it. Every topic registered for iID
    /// gets an event, on this thread, before the call returns. Returns 0. [any thread]
    virtual int setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) = 0;

    /// Removes a run-time value with its attributes; sends no event. Returns 0, also when there was
    /// none. [any thread]
    virtual int removeSetKey(const PLiteral& iID, const PLiteral& iKey) = 0;

    ///@{
    /// Call setString with the text form of the value. iSize is in bytes. [any thread]
    virtual int setInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) = 0;
    virtual int setUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) = 0;
    virtual int setInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) = 0;
    virtual int setUint64(const PLiteral& iID, const PLiteral& iKey, unsigned long long iValue) = 0;
    virtual int setBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) = 0;
    virtual int setBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                          unsigned int iSize) = 0;
    ///@}

    /// Sets an attribute of a run-time value. An existing attribute stays, and the call still
    /// succeeds. Sends events as setString does. Returns 0, or -3002 when the key has no run-time
    /// value. [any thread]
    virtual int setAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                              const PLiteral& iValue) = 0;

    /// Removes one attribute of a run-time value. Returns 0, also when there was none. [any thread]
    virtual int removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                              const PLiteral& iAttribute) = 0;

    ///@{
    /// Call setAttrString with the text form of the value. iSize is in bytes. [any thread]
    virtual int setAttrInt32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                             int iValue) = 0;
    virtual int setAttrUint32(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                              unsigned int iValue) = 0;
    virtual int setAttrInt64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                             long long iValue) = 0;
    virtual int setAttrUint64(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                              unsigned long long iValue) = 0;
    virtual int setAttrBool(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                            bool iValue) = 0;
    virtual int setAttrBinary(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                              const unsigned char* iData, unsigned int iSize) = 0;
    ///@}

    /// Writes a value to the store file and replaces the stored one. This process reads the new
    /// value only when it had not read the store before. The whole file is rewritten, not
    /// atomically. Returns 0, -2002 before the first load by ID, -3003 without a store file, -3001
    /// for a broken store file, or the code of a file operation. [any thread]
    virtual int storeString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) = 0;

    /// Removes a stored value with its attributes, also for reads of this process. Returns 0, also
    /// when there was none, or another code of storeString. [any thread]
    virtual int removeStoredKey(const PLiteral& iID, const PLiteral& iKey) = 0;

    ///@{
    /// Call storeString with the text form of the value. iSize is in bytes. [any thread]
    virtual int storeInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) = 0;
    virtual int storeUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) = 0;
    virtual int storeInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) = 0;
    virtual int storeUint64(const PLiteral& iID, const PLiteral& iKey,
                            unsigned long long iValue) = 0;
    virtual int storeBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) = 0;
    virtual int storeBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                            unsigned int iSize) = 0;
    ///@}

    /// Writes an attribute of a stored value. An existing attribute stays. Returns 0, -3002 when
    /// the key has no stored value, or another code of storeString. [any thread]
    virtual int storeAttrString(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iAttribute, const PLiteral& iValue) = 0;

    /// Removes one attribute of a stored value, also for reads of this process. [any thread]
    virtual int removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                                 const PLiteral& iAttribute) = 0;

    ///@{
    /// Call storeAttrString with the text form of the value. iSize is in bytes. [any thread]
    virtual int storeAttrInt32(const PLiteral& iID, const PLiteral& iKey,
                               const PLiteral& iAttribute, int iValue) = 0;
    virtual int storeAttrUint32(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iAttribute, unsigned int iValue) = 0;
    virtual int storeAttrInt64(const PLiteral& iID, const PLiteral& iKey,
                               const PLiteral& iAttribute, long long iValue) = 0;
    virtual int storeAttrUint64(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iAttribute, unsigned long long iValue) = 0;
    virtual int storeAttrBool(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                              bool iValue) = 0;
    virtual int storeAttrBinary(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iAttribute, const unsigned char* iData,
                                unsigned int iSize) = 0;
    ///@}

    /// Registers iTopic to get an IConfigChanged event whenever a run-time value of iID is set.
    /// Returns 0, or -512 when it is registered already. [any thread]
    virtual int addListener(const PLiteral& iID, const PLiteral& iTopic) = 0;

    /// Ends a registration. Returns 0, or -504 when there is none. [any thread]
    virtual int removeListener(const PLiteral& iID, const PLiteral& iTopic) = 0;
};

#endif
