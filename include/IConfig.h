// SPDX-License-Identifier: MIT
// IConfig: one configuration, read by key.
#ifndef IXLAL_ICONFIG_H
#define IXLAL_ICONFIG_H

#include "IBase.h"
#include "portinglayer/PString.h"
#include "portinglayer/PVectorLayout.h"

#include <vector>

/// A set of keys, each with a text value and named attributes.
///
/// A configuration loaded by ID also answers from the run-time values and the stored values of
/// that ID: an own value whose "const" attribute reads as true wins, then a stored one with such
/// an attribute, then the run-time, the stored and the own value. One loaded from a file or from
/// arguments answers from its own keys alone.
///
/// All getters may run on any number of threads at once, but not while the same configuration is
/// being appended to. With an ID they lock the manager from the lookup to the copy. Out-arguments
/// stay as they were on failure. Unless its line says otherwise a getter returns 0, -504 when there
/// is no such key or attribute, -3004 when a name holds "=", ":" or "|", -501 for lack of memory,
/// and the typed ones the code of the conversion: -22 for a text of another form, -34 for a number
/// out of range.
class IConfig : public IBase
{
public:
    /// Replaces oKeys by the configuration's own keys in ascending order; keys that exist only as
    /// run-time or stored values are not listed. Returns 0 or -501. [any thread]
    virtual int getKeys(std::vector<PString>& oKeys) = 0;

    /// Appends the attribute names of the own key iKey, ascending, to what oAttributes holds.
    /// [any thread]
    virtual int getAttributes(const PLiteral& iKey, std::vector<PString>& oAttributes) = 0;

    /// The text of a value. [any thread]
    virtual int getString(const PLiteral& iKey, PString& oValue) = 0;

    ///@{
    /// Values in decimal: optional sign, the whole text, blanks around it allowed. [any thread]
    virtual int getInt32(const PLiteral& iKey, int& oValue) = 0;
    virtual int getUint32(const PLiteral& iKey, unsigned int& oValue) = 0;
    virtual int getInt64(const PLiteral& iKey, long long& oValue) = 0;
    virtual int getUint64(const PLiteral& iKey, unsigned long long& oValue) = 0;
    ///@}

    /// A truth value: true/false, yes/no, on/off or 1/0 in any case. [any thread]
    virtual int getBool(const PLiteral& iKey, bool& oValue) = 0;

    /// A block of bytes, written as two hexadecimal digits each. oData is made with new[] and
    /// belongs to the caller, also for an empty block; oSize is in bytes. [any thread]
    virtual int getBinary(const PLiteral& iKey, unsigned char*& oData, unsigned int& oSize) = 0;

    ///@{
    /// The same for an attribute of a key. [any thread]
    virtual int getAttrString(const PLiteral& iKey, const PLiteral& iAttribute,
                              PString& oValue) = 0;
    virtual int getAttrInt32(const PLiteral& iKey, const PLiteral& iAttribute, int& oValue) = 0;
    virtual int getAttrUint32(const PLiteral& iKey, const PLiteral& iAttribute,
                              unsigned int& oValue) = 0;
    virtual int getAttrInt64(const PLiteral& iKey, const PLiteral& iAttribute,
                             long long& oValue) = 0;
    virtual int getAttrUint64(const PLiteral& iKey, const PLiteral& iAttribute,
                              unsigned long long& oValue) = 0;
    virtual int getAttrBool(const PLiteral& iKey, const PLiteral& iAttribute, bool& oValue) = 0;
    virtual int getAttrBinary(const PLiteral& iKey, const PLiteral& iAttribute,
                              unsigned char*& oData, unsigned int& oSize) = 0;
    ///@}
};

#endif
