// SPDX-License-Identifier: MIT
/// @file
/// ixlaRead: reads several keys of a configuration, as a step of ixlaInOrder.
#ifndef IXLAL_SDK_READKEYS_H
#define IXLAL_SDK_READKEYS_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/ConfigValue.h"
#include "helpers/PNamedResult.h"
#include "helpers/ServiceLookup.h"

#include <cstddef>
#include <tuple>
#include <utility>

/// One key and the variable that gets its value.
template <class TValue>
class PKey
{
public:
    /// The key is borrowed.
    PKey(const PLiteral& iKey, TValue& oValue, bool iRequired) noexcept
        : fKey(iKey), fValue(oValue), fRequired(iRequired)
    {
    }

    /// Reads the value. A failure names the key, with its text and iWhere as the note.
    PNamedResult read(IConfig& iConfig, const PLiteral& iWhere) const
    {
        const int result = IxlaConfigValue<TValue>::read(iConfig, fKey, fValue);
        if (result == eIxlaOk || (result == eIxlaNotFound && !fRequired))
        {
            return PNamedResult();
        }
        return PNamedResult(result, fKey, note(iConfig, iWhere));
    }

private:
    PString note(IConfig& iConfig, const PLiteral& iWhere) const
    {
        PString note;
        PString text;
        if (iConfig.getString(fKey, text) == eIxlaOk)
        {
            note += L" = ";
            note += text;
        }
        if (iWhere.len() > 0)
        {
            note += L" in ";
            note += iWhere;
        }
        return note;
    }

    const PLiteral fKey;
    TValue& fValue;
    const bool fRequired;
};

/// Reads keys of a configuration.
template <class... TKeys>
class PKeyReader
{
public:
    /// Keeps the keys for read().
    explicit PKeyReader(const TKeys&... iKeys) : fKeys(iKeys...)
    {
    }

    /// Reads the keys from left to right until one fails.
    PNamedResult read(IConfig& iConfig, const PLiteral& iWhere) const
    {
        return readFrom(iConfig, iWhere, Index<0>());
    }

private:
    template <std::size_t kIndex>
    struct Index
    {
    };

    template <std::size_t kIndex>
    PNamedResult readFrom(IConfig& iConfig, const PLiteral& iWhere, Index<kIndex>) const
    {
        PNamedResult result = std::get<kIndex>(fKeys).read(iConfig, iWhere);
        return result.code() == eIxlaOk ? readFrom(iConfig, iWhere, Index<kIndex + 1>()) : result;
    }

    PNamedResult readFrom(IConfig&, const PLiteral&, Index<sizeof...(TKeys)>) const
    {
        return PNamedResult();
    }

    const std::tuple<TKeys...> fKeys;
};

/// A step of ixlaInOrder: reads keys of a configuration that is loaded already.
template <class... TKeys>
class PReadStep
{
public:
    /// The configuration may be loaded by an earlier step.
    PReadStep(const PBaseptr<IConfig>& iConfig, const TKeys&... iKeys)
        : fConfig(iConfig), fReader(iKeys...)
    {
    }

    /// Runs the step.
    PNamedResult operator()() const
    {
        return fConfig ? fReader.read(*fConfig, PLiteral())
                       : PNamedResult(eIxlaInvalidArgument, L"configuration");
    }

private:
    const PBaseptr<IConfig>& fConfig;
    const PKeyReader<TKeys...> fReader;
};

/// A step of ixlaInOrder: loads a configuration by its ID.
class PLoadStep
{
public:
    /// The ID is borrowed.
    PLoadStep(const PLiteral& iID, PBaseptr<IConfig>& oConfig) noexcept : fID(iID), fConfig(oConfig)
    {
    }

    /// Runs the step.
    PNamedResult operator()() const
    {
        int result = eIxlaOk;
        const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
        if (result == eIxlaOk)
        {
            result = manager->loadByID(fID, fConfig);
        }
        return PNamedResult(result, fID);
    }

private:
    const PLiteral fID;
    PBaseptr<IConfig>& fConfig;
};

/// A step of ixlaInOrder: loads a configuration by its ID and reads keys of it.
template <class... TKeys>
class PLoadAndReadStep
{
public:
    /// The ID is borrowed.
    explicit PLoadAndReadStep(const PLiteral& iID, const TKeys&... iKeys)
        : fID(iID), fReader(iKeys...)
    {
    }

    /// Runs the step.
    PNamedResult operator()() const
    {
        PBaseptr<IConfig> config;
        PNamedResult result = PLoadStep(fID, config)();
        return result.code() == eIxlaOk ? fReader.read(*config, fID) : result;
    }

private:
    const PLiteral fID;
    const PKeyReader<TKeys...> fReader;
};

/// A key that may be missing: oValue then keeps its value, which is the default. The text of iKey
/// is borrowed. TValue is bool, PString, or an integer of 32 or 64 bits.
template <class TValue>
PKey<TValue> ixlaKey(const PLiteral& iKey, TValue& oValue) noexcept
{
    return PKey<TValue>(iKey, oValue, false);
}

/// A key without which the read fails with -504.
template <class TValue>
PKey<TValue> ixlaRequiredKey(const PLiteral& iKey, TValue& oValue) noexcept
{
    return PKey<TValue>(iKey, oValue, true);
}

/// Loads the configuration iID into oConfig, which reads the values of the moment at every read.
inline PLoadStep ixlaConfig(const PLiteral& iID, PBaseptr<IConfig>& oConfig) noexcept
{
    return PLoadStep(iID, oConfig);
}

/// Reads keys of iConfig from left to right until one fails; the variables of the keys before it
/// have their values then. A value that cannot be converted is a failure, also of a key that may
/// be missing: "size = 12x: -22 (Invalid argument)".
template <class... TKeys>
PReadStep<TKeys...> ixlaRead(const PBaseptr<IConfig>& iConfig, const TKeys&... iKeys)
{
    return PReadStep<TKeys...>(iConfig, iKeys...);
}

/// Loads the configuration iID and reads keys of it, as above. The note of a failure names the ID:
/// "size = 12x in com.example.queue: -22 (Invalid argument)".
template <class... TKeys>
PLoadAndReadStep<TKeys...> ixlaRead(const PLiteral& iID, const TKeys&... iKeys)
{
    return PLoadAndReadStep<TKeys...>(iID, iKeys...);
}

#endif
