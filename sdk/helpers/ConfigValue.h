// SPDX-License-Identifier: MIT
/// @file
/// IxlaConfigValue: the typed operations of the configuration, chosen by the type of a variable.
#ifndef IXLAL_SDK_CONFIGVALUE_H
#define IXLAL_SDK_CONFIGVALUE_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "Ixla.h"

#include <type_traits>

/// Reads and sets values of type TValue: bool, PString, and integers of 32 and 64 bits. Other types
/// do not compile.
template <class TValue, class = void>
struct IxlaConfigValue;

/// Truth values.
template <>
struct IxlaConfigValue<bool>
{
    /// As IConfig::getBool.
    static int read(IConfig& iConfig, const PLiteral& iKey, bool& oValue)
    {
        return iConfig.getBool(iKey, oValue);
    }

    /// As IConfigManager::setBool.
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                   bool iValue)
    {
        return ioManager.setBool(iID, iKey, iValue);
    }
};

/// Texts.
template <>
struct IxlaConfigValue<PString>
{
    /// As IConfig::getString.
    static int read(IConfig& iConfig, const PLiteral& iKey, PString& oValue)
    {
        return iConfig.getString(iKey, oValue);
    }

    /// As IConfigManager::setString.
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                   const PLiteral& iValue)
    {
        return ioManager.setString(iID, iKey, iValue);
    }
};

/// The operations for the integer types that the interfaces use.
struct PIntegerValue
{
    ///@{
    /// As the get operation of the type.
    static int read(IConfig& iConfig, const PLiteral& iKey, int& oValue)
    {
        return iConfig.getInt32(iKey, oValue);
    }
    static int read(IConfig& iConfig, const PLiteral& iKey, unsigned int& oValue)
    {
        return iConfig.getUint32(iKey, oValue);
    }
    static int read(IConfig& iConfig, const PLiteral& iKey, long long& oValue)
    {
        return iConfig.getInt64(iKey, oValue);
    }
    static int read(IConfig& iConfig, const PLiteral& iKey, unsigned long long& oValue)
    {
        return iConfig.getUint64(iKey, oValue);
    }
    ///@}

    ///@{
    /// As the set operation of the type.
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey, int iValue)
    {
        return ioManager.setInt32(iID, iKey, iValue);
    }
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                   unsigned int iValue)
    {
        return ioManager.setUint32(iID, iKey, iValue);
    }
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                   long long iValue)
    {
        return ioManager.setInt64(iID, iKey, iValue);
    }
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                   unsigned long long iValue)
    {
        return ioManager.setUint64(iID, iKey, iValue);
    }
    ///@}
};

/// The type of the interfaces that has the size and the sign of an integer type.
template <class TValue>
struct PIntegerOf
{
    /// Whether there is one.
    static constexpr bool kExists =
        std::is_integral<TValue>::value && !std::is_same<TValue, bool>::value &&
        !std::is_same<TValue, wchar_t>::value && !std::is_same<TValue, char32_t>::value &&
        (sizeof(TValue) == sizeof(int) || sizeof(TValue) == sizeof(long long));

    /// The signed type of the same size.
    typedef typename std::conditional<sizeof(TValue) == sizeof(int), int, long long>::type Signed;
    /// The type itself.
    typedef typename std::conditional<std::is_signed<TValue>::value, Signed,
                                      typename std::make_unsigned<Signed>::type>::type Type;
};

/// Integers. A variable of type long uses the operations of its size.
template <class TValue>
struct IxlaConfigValue<TValue, typename std::enable_if<PIntegerOf<TValue>::kExists>::type>
{
    /// As IConfig::getInt32, getUint32, getInt64 or getUint64.
    static int read(IConfig& iConfig, const PLiteral& iKey, TValue& oValue)
    {
        typename PIntegerOf<TValue>::Type value = 0;
        const int result = PIntegerValue::read(iConfig, iKey, value);
        if (result == eIxlaOk)
        {
            oValue = value;
        }
        return result;
    }

    /// As IConfigManager::setInt32, setUint32, setInt64 or setUint64.
    static int set(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                   TValue iValue)
    {
        const typename PIntegerOf<TValue>::Type value = iValue;
        return PIntegerValue::set(ioManager, iID, iKey, value);
    }
};

#endif
