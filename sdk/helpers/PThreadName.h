// SPDX-License-Identifier: MIT
// PThreadName: the name of a thread, for log lines and for the system.
#ifndef IXLAL_SDK_PTHREADNAME_H
#define IXLAL_SDK_PTHREADNAME_H

#include "helpers/Text.h"
#include "portinglayer/PString.h"

#include <string>

#include <pthread.h>

/// Constant after construction. [any thread]
class PThreadName
{
public:
    /// Throws std::bad_alloc.
    explicit PThreadName(const PLiteral& iName) : fWhole(iName), fShort(ixlaNarrow(iName))
    {
        if (fShort.size() > kLongest)
        {
            std::size_t length = kLongest;
            while (length > 0 && (fShort[length] & '\xc0') == '\x80')
            {
                --length; // a byte inside of a character
            }
            fShort.resize(length);
        }
    }

    /// The name as it was given.
    const PString& whole() const noexcept
    {
        return fWhole;
    }

    /// In UTF-8, cut to the 15 bytes that the system allows.
    const char* brief() const noexcept
    {
        return fShort.c_str();
    }

    /// Names the calling thread.
    void apply() const noexcept
    {
        (void)pthread_setname_np(pthread_self(), brief()); // only a longer name fails
    }

private:
    static constexpr std::size_t kLongest = 15;

    const PString fWhole;
    std::string fShort;
};

#endif
