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
/// A configuration loaded by ID also reads the run-time values and the stored values of that ID.
/// The order of precedence is: an own value whose "const" attribute reads as true, a stored value
/// with such an attribute, the run-time value, the stored value, the own value. A configuration
/// loaded from a file or from arguments reads its own keys only.
///
/// All getters may run on any number of threads at once, but not while the same configuration is
/// being appended to. With an ID they hold the manager's lock from the lookup to the copy.
/// Out-arguments are unchanged on failure. Unless its comment says otherwise, a getter returns 0,
/// -504 when there is no such key or attribute, -3004 when a name holds "=", ":" or "|", or -501
/// for lack of memory. A typed getter also returns the code of the conversion: -22 for a text of
/// another form, -34 for a number out of range.
class IConfig : public IBase
{
public:
    /// Replaces oKeys by the configuration's own keys in ascending order. Keys that exist only as
    /// run-time or stored values are not listed. Returns 0 or -501. [any thread]
    virtual int getKeys(std::vector<PString>& oKeys) = 0;

    /// Appends the attribute names of the own key iKey, in ascending order, to oAttributes.
    /// [any thread]
    virtual int getAttributes(const PLiteral& iKey, std::vector<PString>& oAttributes) = 0;

    /// Copies the text of a value to oValue. [any thread]
    virtual int getString(const PLiteral& iKey, PString& oValue) = 0;

    ///@{
    /// Read a decimal number with an optional sign. The number must be the whole text, except for
    /// blanks around it. [any thread]
    virtual int getInt32(const PLiteral& iKey, int& oValue) = 0;
    virtual int getUint32(const PLiteral& iKey, unsigned int& oValue) = 0;
    virtual int getInt64(const PLiteral& iKey, long long& oValue) = 0;
    virtual int getUint64(const PLiteral& iKey, unsigned long long& oValue) = 0;
    ///@}

    /// Reads a truth value: true/false, yes/no, on/off or 1/0 in upper or lower case. [any thread]
    virtual int getBool(const PLiteral& iKey, bool& oValue) = 0;

    /// Reads a block of bytes, written as two hexadecimal digits each. oData is a new[] array that
    /// the caller owns, also for an empty block; oSize is in bytes. [any thread]
    virtual int getBinary(const PLiteral& iKey, unsigned char*& oData, unsigned int& oSize) = 0;

    ///@{
    /// Read an attribute of a key, as the functions above read a value. [any thread]
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
