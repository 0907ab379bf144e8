// SPDX-License-Identifier: MIT
// IConfigManager: loads configurations, keeps run-time and stored values, announces changes.
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
/// called from any thread, also from within a listener; the manager's lock is held while its
/// tables or files are used and never while a listener runs. -501 stands for lack of memory
/// everywhere. What failed so has changed nothing, but for two: appending keeps the lines, or the
/// arguments, before the one that failed, each of them whole; and listIDs hands out none.
class IConfigManager : public IBase
{
public:
    /// Replaces oIDs by the IDs that have stored values, then those that have files, each once.
    /// Returns 0, or with an empty oIDs -2002 before the first load by ID, -3003 without a store
    /// file in the manager's configuration, -501, or the code of a file. [any thread]
    virtual int listIDs(std::vector<PString>& oIDs) = 0;

    ///@{
    /// Make a new configuration in oConfig, which stays as it was on failure: from the files of
    /// an ID (an unlisted ID gives an empty one), from one file, from arguments of the form
    /// key=value or key:attribute=value. The array form reads iCount texts from iArgs.
    /// Return 0, -502 for no arguments, -3001 for a line without "=" or with an empty key, or the
    /// code of opening the file. [any thread]
    virtual int loadByID(const PLiteral& iID, PBaseptr<IConfig>& oConfig) = 0;
    virtual int loadByFile(const PLiteral& iFile, PBaseptr<IConfig>& oConfig) = 0;
    virtual int loadByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig>& oConfig) = 0;
    virtual int loadByArgs(const PString* iArgs, unsigned int iCount,
                           PBaseptr<IConfig>& oConfig) = 0;
    ///@}

    ///@{
    /// The same into a configuration that this manager made. Later values win, attributes stay as
    /// first given; whatever the failure, what was read before it stays. -502 for an empty
    /// ioConfig, except by ID. No other thread may use the configuration meanwhile. [any thread]
    virtual int appendByID(const PLiteral& iID, PBaseptr<IConfig> ioConfig) = 0;
    virtual int appendByFile(const PLiteral& iFile, PBaseptr<IConfig> ioConfig) = 0;
    virtual int appendByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig> ioConfig) = 0;
    virtual int appendByArgs(const PString* iArgs, unsigned int iCount,
                             PBaseptr<IConfig> ioConfig) = 0;
    ///@}

    /// Sets the run-time value of a key, unless it has one already: that one stays, and the call
    /// succeeds all the same (remove it first to change it). Every topic registered for iID gets
    /// an event, on this thread, before the call returns. Returns 0. [any thread]
    virtual int setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) = 0;

    /// Removes a run-time value with its attributes; sends no event. 0 also when there was none.
    /// [any thread]
    virtual int removeSetKey(const PLiteral& iID, const PLiteral& iKey) = 0;

    ///@{
    /// As setString, with the text form of the value. iSize is in bytes. [any thread]
    virtual int setInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) = 0;
    virtual int setUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) = 0;
    virtual int setInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) = 0;
    virtual int setUint64(const PLiteral& iID, const PLiteral& iKey, unsigned long long iValue) = 0;
    virtual int setBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) = 0;
    virtual int setBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                          unsigned int iSize) = 0;
    ///@}

    /// Sets an attribute of a run-time value unless it is present. -3002 when the key has no
    /// run-time value. Sends events as setString does. [any thread]
    virtual int setAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                              const PLiteral& iValue) = 0;

    /// Removes one attribute of a run-time value; 0 also when there was none. [any thread]
    virtual int removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                              const PLiteral& iAttribute) = 0;

    ///@{
    /// As setAttrString, with the text form of the value. [any thread]
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

    /// Writes a value to the store file, replacing the stored one. Reads of this process see it
    /// only when the store had not been read yet. The file is rewritten whole and not atomically.
    /// Returns 0, -2002 before the first load by ID, -3003 without a store file, -3001 for a
    /// broken store file, or the code of a file operation. [any thread]
    virtual int storeString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) = 0;

    /// Removes a stored value with its attributes, for readers of this process too. 0 also when
    /// there was none; other codes as storeString. [any thread]
    virtual int removeStoredKey(const PLiteral& iID, const PLiteral& iKey) = 0;

    ///@{
    /// As storeString, with the text form of the value. [any thread]
    virtual int storeInt32(const PLiteral& iID, const PLiteral& iKey, int iValue) = 0;
    virtual int storeUint32(const PLiteral& iID, const PLiteral& iKey, unsigned int iValue) = 0;
    virtual int storeInt64(const PLiteral& iID, const PLiteral& iKey, long long iValue) = 0;
    virtual int storeUint64(const PLiteral& iID, const PLiteral& iKey,
                            unsigned long long iValue) = 0;
    virtual int storeBool(const PLiteral& iID, const PLiteral& iKey, bool iValue) = 0;
    virtual int storeBinary(const PLiteral& iID, const PLiteral& iKey, const unsigned char* iData,
                            unsigned int iSize) = 0;
    ///@}

    /// Writes an attribute of a stored value unless it is present. -3002 when the key has no
    /// stored value; other codes as storeString. [any thread]
    virtual int storeAttrString(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iAttribute, const PLiteral& iValue) = 0;

    /// Removes one attribute of a stored value, for readers of this process too. [any thread]
    virtual int removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                                 const PLiteral& iAttribute) = 0;

    ///@{
    /// As storeAttrString, with the text form of the value. [any thread]
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
