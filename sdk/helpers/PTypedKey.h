// SPDX-License-Identifier: MIT
// PTypedKey: a declared configuration key with a value of one type.
#ifndef IXLAL_SDK_PTYPEDKEY_H
#define IXLAL_SDK_PTYPEDKEY_H

#include "helpers/PConfigKey.h"
#include "helpers/PSingleRun.h"

#include <functional>
#include <utility>

/// Reads the value of a key and follows its changes. A class of ConfigKeys.h converts the text.
template <class T>
class PTypedKey : public PConfigKey
{
public:
    /// A function that gets the value.
    typedef std::function<void(const T& iValue)> Callback;

    /// The value, or the default when there is none or the declaration refuses it. One line of the
    /// plugins' log reports a refused value, however often it is read. A key that changes at run
    /// time is read from the configuration at every call; any other has the value of load(). Throws
    /// std::bad_alloc. [any thread]
    T get() const
    {
        if (fIsLoaded)
        {
            return fAtStart;
        }
        T value;
        (void)read(value); // refused values are in the log
        return value;
    }

    /// Sets the callback of the key, before the configuration is loaded. load() calls it with the
    /// first value. Later it is called whenever a run-time value was set and get() has another
    /// value than at the call before, on the thread that sets the value, before the set operation
    /// returns. Calls for one key never overlap, and the last one has the last value: when the key
    /// is set while the callback runs, the thread that runs it calls it again. Exceptions are
    /// caught and written to the plugins' log, except those in load(), which passes them on.
    void onChange(Callback iCallback)
    {
        fCallback = std::move(iCallback);
    }

    /// As PConfigKey::load().
    void load() override
    {
        if (changes())
        {
            update();
            return;
        }
        (void)read(fAtStart);
        fIsLoaded = true;
        if (fCallback)
        {
            fCallback(fAtStart);
        }
    }

    /// As PConfigKey::update().
    void update() override
    {
        if (!changes())
        {
            reportLate();
        }
        else if (fCallback)
        {
            fDelivery.run([this] { deliver(); });
        }
        else
        {
            (void)check(); // reports a refused value
        }
    }

    /// As PConfigKey::check().
    bool check() override
    {
        T value;
        return read(value);
    }

protected:
    /// Adds the key to ioKeys.
    PTypedKey(PConfigKeys& ioKeys, const PKeyTexts& iTexts)
        : PConfigKey(ioKeys, iTexts),
          fAtStart(),
          fIsLoaded(false),
          fDelivered(),
          fIsDelivered(false)
    {
    }

    ~PTypedKey()
    {
    }

    /// Converts a text. False, with any value, for a text that the declaration refuses.
    virtual bool convert(const PString& iText, T& oValue) const = 0;

private:
    /// False for a refused value; oValue is the default then.
    bool read(T& oValue) const
    {
        PString text;
        if (!readText(text))
        {
            readDefault(oValue);
            return true;
        }
        if (convert(text, oValue))
        {
            accept();
            return true;
        }
        refuse(text);
        readDefault(oValue);
        return false;
    }

    void readDefault(T& oValue) const
    {
        // The compiler has checked the default.
        (void)convert(defaultText(), oValue);
    }

    void deliver()
    {
        const T value = get();
        if (!fIsDelivered || !(value == fDelivered))
        {
            fDelivered = value;
            fIsDelivered = true;
            fCallback(value);
        }
    }

    // Constant after load().
    Callback fCallback;
    T fAtStart;
    bool fIsLoaded; ///< fAtStart is the value

    PSingleRun fDelivery;
    T fDelivered;      ///< used within fDelivery
    bool fIsDelivered; ///< used within fDelivery
};

#endif
