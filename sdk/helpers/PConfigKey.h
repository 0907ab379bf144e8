// SPDX-License-Identifier: MIT
// PConfigKey: a declared configuration key of any type.
#ifndef IXLAL_SDK_PCONFIGKEY_H
#define IXLAL_SDK_PCONFIGKEY_H

#include "IConfig.h"
#include "ILogger.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "portinglayer/PString.h"

#include <atomic>
#include <mutex>
#include <new>
#include <vector>

class PConfigKey;

/// What the keys of one configuration ID share. config and logger are empty until the configuration
/// is loaded, and constant afterwards.
struct PConfigKeys
{
    /// iID is a literal.
    explicit PConfigKeys(const wchar_t* iID) : id(iID)
    {
    }

    const wchar_t* const id;      ///< the configuration ID
    PBaseptr<IConfig> config;     ///< the configuration of the ID
    PBaseptr<ILogger> logger;     ///< for refused values
    std::vector<PConfigKey*> all; ///< in the order of their declaration
};

/// The texts of a declaration, which are literals.
struct PKeyTexts
{
    const wchar_t* name;      ///< in configuration files
    const wchar_t* byDefault; ///< the text of the default
    const wchar_t* expected;  ///< the values that are accepted, for the log
    bool changes;             ///< at run time; otherwise the key is read when it is loaded
};

/// The part of a key that does not depend on its type.
class PConfigKey
{
public:
    PConfigKey(const PConfigKey&) = delete;
    PConfigKey& operator=(const PConfigKey&) = delete;

    /// The name in configuration files. [any thread]
    const wchar_t* name() const noexcept
    {
        return fTexts.name;
    }

    /// Whether a change at run time has an effect. [any thread]
    bool changes() const noexcept
    {
        return fTexts.changes;
    }

    /// Reads the value when the configuration is loaded: before changes are announced if it never
    /// changes, and afterwards if it does. Calls the callback of the key.
    virtual void load() = 0;

    /// A run-time value was set: calls the callback if the key has another value now.
    virtual void update() = 0;

    /// Whether the present value is one that the declaration accepts. Logs another one as a read
    /// does.
    virtual bool check() = 0;

protected:
    /// Adds the key to ioKeys, which must outlive it.
    PConfigKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts)
        : fKeys(ioKeys), fTexts(iTexts), fIsReported(false)
    {
        ioKeys.all.push_back(this);
    }

    ~PConfigKey()
    {
    }

    /// The text of the value; false for a key that has none.
    bool readText(PString& oText) const
    {
        const int result =
            fKeys.config ? fKeys.config->getString(fTexts.name, oText) : eIxlaNotFound;
        if (result == eIxlaNoMemory)
        {
            throw std::bad_alloc();
        }
        return result == eIxlaOk;
    }

    /// The text of the default.
    const wchar_t* defaultText() const noexcept
    {
        return fTexts.byDefault;
    }

    /// Writes one line about a value that is not accepted, however often it is read.
    void refuse(const PString& iText) const
    {
        {
            const std::lock_guard<std::mutex> lock(fMutex);
            if (fIsReported && fReported == iText)
            {
                return;
            }
            fReported = iText;
            fIsReported = true;
        }
        if (fKeys.logger)
        {
            // There is no other place to report a failing log.
            (void)fKeys.logger->error(0, L"[%ls] %ls = %ls: not %ls; the default \"%ls\" is used",
                                      fKeys.id, fTexts.name, iText.ptr(), fTexts.expected,
                                      fTexts.byDefault);
        }
    }

    /// The value is accepted again, so that the next one that is not gets a line.
    void accept() const
    {
        if (fIsReported)
        {
            const std::lock_guard<std::mutex> lock(fMutex);
            fIsReported = false;
        }
    }

    /// Writes one line about a value that was set without effect.
    void reportLate() const
    {
        PString text;
        if (fKeys.logger && readText(text))
        {
            (void)fKeys.logger->error(
                0, L"[%ls] %ls = %ls: set too late; the key is read at the start only", fKeys.id,
                fTexts.name, text.ptr());
        }
    }

private:
    const PConfigKeys& fKeys;
    const PKeyTexts fTexts;
    mutable std::mutex fMutex;
    mutable std::atomic<bool> fIsReported; ///< fReported was reported
    mutable PString fReported;             ///< guarded by fMutex
};

#endif
