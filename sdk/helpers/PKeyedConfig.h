// SPDX-License-Identifier: MIT
/// @file
/// PKeyedConfig: a configuration whose keys are declared, and the macros that declare them.
#ifndef IXLAL_SDK_PKEYEDCONFIG_H
#define IXLAL_SDK_PKEYEDCONFIG_H

#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "helpers/ConfigKeys.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PKeyLiteral.h"
#include "helpers/PluginNote.h"
#include "helpers/ServiceLookup.h"

#include <new>

/// The base class of configurations that IXLA_CONFIG declares:
///
///     IXLA_CONFIG(QueueConfig, "com.example.queue",
///         IXLA_KEY_UINT32(limit, "limit", 100, 1, 10000, "jobs", "run-time",
///                         "jobs that may wait at the same time"),
///         IXLA_KEY_CHOICE(order, "order", "oldest", "oldest|newest", "start",
///                         "which job is done first"))
///
///     int Queue::onInit()
///     {
///         fConfig.limit.onChange([this](unsigned int iLimit) { resize(iLimit); });
///         return fConfig.load();
///     }
///
/// fConfig is a QueueConfig, and the last member of a service whose members its callbacks use: when
/// it is destroyed, callbacks have ended on all threads and do not run again, as with
/// PSubscription. The declaration is also a note in the library, so that tools know the keys
/// without running code.
class PKeyedConfig
{
public:
    PKeyedConfig(const PKeyedConfig&) = delete;
    PKeyedConfig& operator=(const PKeyedConfig&) = delete;

    /// Loads the configuration, begins to follow its changes and calls the callbacks with the first
    /// values. To be called once. Returns 0, -501, or the code of what failed. Refused values are
    /// no failure. Passes on what callbacks throw.
    int load()
    {
        try
        {
            return begin();
        }
        catch (const std::bad_alloc&)
        {
            return eIxlaNoMemory;
        }
    }

    /// Reads every key. Returns 0, or -22 when the declaration refuses a value; each such value is
    /// in the plugins' log once. For plugins that must not start with a wrong setting. Throws
    /// std::bad_alloc. [any thread]
    int check() const
    {
        bool isAccepted = true;
        for (PConfigKey* const key : fKeys.all)
        {
            isAccepted = key->check() && isAccepted;
        }
        return isAccepted ? 0 : kRefused;
    }

    /// Ends the callbacks, as PSubscription::end(). Returns 0 or the code of what failed.
    int end() noexcept
    {
        return fChanges.end();
    }

    /// The configuration, for keys that are not declared; empty before load(). [any thread]
    const PBaseptr<IConfig>& config() const noexcept
    {
        return fKeys.config;
    }

    /// The configuration ID. [any thread]
    const wchar_t* id() const noexcept
    {
        return fKeys.id;
    }

protected:
    /// Ends the callbacks before the keys are destroyed. The last member of a derived class.
    class Ending
    {
    public:
        /// ioConfig is the configuration that has this member.
        explicit Ending(PKeyedConfig& ioConfig) noexcept : fConfig(ioConfig)
        {
        }

        ~Ending()
        {
            (void)fConfig.end(); // as the destructor of PConfigSubscription
        }

        Ending(const Ending&) = delete;
        Ending& operator=(const Ending&) = delete;

    private:
        PKeyedConfig& fConfig;
    };

    /// iID is a literal.
    explicit PKeyedConfig(const wchar_t* iID) : fKeys(iID)
    {
    }

    ~PKeyedConfig()
    {
    }

    PConfigKeys fKeys; ///< used by the keys of the derived class

private:
    enum : int
    {
        kRefused = -22 ///< as a typed read of another text
    };

    int begin()
    {
        int result = eIxlaOk;
        const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
        if (result == eIxlaOk)
        {
            result = manager->loadByID(fKeys.id, fKeys.config);
        }
        if (result != eIxlaOk)
        {
            return result;
        }
        // Without a log nothing is reported.
        fKeys.logger = ixlaService<ILogger>();
        loadKeys(false);
        result = fChanges.subscribe(fKeys.id,
                                    [this](const IConfigChanged& iChange) { update(iChange); });
        if (result == eIxlaOk)
        {
            loadKeys(true);
        }
        return result;
    }

    void loadKeys(bool iChanges)
    {
        for (PConfigKey* const key : fKeys.all)
        {
            if (key->changes() == iChanges)
            {
                key->load();
            }
        }
    }

    void update(const IConfigChanged& iChange)
    {
        PString name;
        if (iChange.getType() != IConfigChanged::eValueSet)
        {
            return;
        }
        if (iChange.getKey(name) != eIxlaOk)
        {
            throw std::bad_alloc();
        }
        for (PConfigKey* const key : fKeys.all)
        {
            if (name == key->name())
            {
                key->update();
            }
        }
    }

    PConfigSubscription fChanges;
};

/// Defines the class TYPE, a PKeyedConfig for the configuration ID, with one member for each of the
/// keys that follow, 64 at most. Use it at namespace scope. ID and all texts of keys are string
/// literals in UTF-8 without tabs and line breaks. Mistakes are errors of the compiler.
#define IXLA_CONFIG(TYPE, ID, ...)                                                                 \
    IXLA_PLUGIN_NOTE(eIxlaNoteKeys,                                                                \
                     "id\t" ID "\n" IXLA_KEY_EACH(IXLA_KEY_NOTE_OF, IXLA_KEY_NONE, __VA_ARGS__))   \
    class TYPE : public PKeyedConfig                                                               \
    {                                                                                              \
        static_assert(PKeyLiteral(ID).isName(), "the ID has tabs, line breaks, \"=\", \":\" or "   \
                                                "\"|\", or blanks at its ends");                   \
                                                                                                   \
    public:                                                                                        \
        TYPE() : PKeyedConfig(L"" ID)                                                              \
        {                                                                                          \
        }                                                                                          \
                                                                                                   \
        IXLA_KEY_EACH(IXLA_KEY_MEMBER_OF, IXLA_KEY_LIMIT, __VA_ARGS__)                             \
                                                                                                   \
    private:                                                                                       \
        Ending fEnding{*this};                                                                     \
    };

///@{
/// Declares a key of IXLA_CONFIG. MEMBER is its name in the class, NAME the one in configuration
/// files. CHANGE is "run-time" if setting it at run time has an effect, and "start" if the value at
/// the start counts. DEFAULT, LOW and HIGH are plain decimal numbers, or macros for such, with
/// LOW <= DEFAULT <= HIGH; UNIT may be "".
#define IXLA_KEY_INT32(MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE, DESCRIPTION)                \
    IXLA_KEY_NUMBER(int, "int32", MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE, DESCRIPTION)
#define IXLA_KEY_UINT32(MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE, DESCRIPTION)               \
    IXLA_KEY_NUMBER(unsigned int, "uint32", MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE,        \
                    DESCRIPTION)
#define IXLA_KEY_INT64(MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE, DESCRIPTION)                \
    IXLA_KEY_NUMBER(long long, "int64", MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE, DESCRIPTION)
#define IXLA_KEY_UINT64(MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE, DESCRIPTION)               \
    IXLA_KEY_NUMBER(unsigned long long, "uint64", MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE,  \
                    DESCRIPTION)
///@}

/// The same with a truth value: DEFAULT is true or false.
#define IXLA_KEY_BOOL(MEMBER, NAME, DEFAULT, CHANGE, DESCRIPTION)                                  \
    (IXLA_KEY_NOTE("bool", NAME, #DEFAULT, CHANGE, DESCRIPTION),                                   \
     IXLA_KEY_CHECK(NAME, CHANGE, DESCRIPTION) static_assert(                                      \
         PKeyLiteral(#DEFAULT).isTruth(), "the default of " NAME " is not true or false");         \
     PBoolKey MEMBER{fKeys, IXLA_KEY_TEXTS(NAME, #DEFAULT, "true or false", CHANGE)};)

/// The same with any text.
#define IXLA_KEY_TEXT(MEMBER, NAME, DEFAULT, CHANGE, DESCRIPTION)                                  \
    (IXLA_KEY_NOTE("text", NAME, DEFAULT, CHANGE, DESCRIPTION),                                    \
     IXLA_KEY_CHECK(NAME, CHANGE, DESCRIPTION) static_assert(                                      \
         PKeyLiteral(DEFAULT).isField(), "the default of " NAME " has a tab or a line "            \
                                         "break");                                                 \
     PTextKey MEMBER{fKeys, IXLA_KEY_TEXTS(NAME, DEFAULT, "a text", CHANGE)};)

/// The same with one of the words of CHOICES, which are separated by "|".
#define IXLA_KEY_CHOICE(MEMBER, NAME, DEFAULT, CHOICES, CHANGE, DESCRIPTION)                       \
    (IXLA_KEY_NOTE("choice", NAME, DEFAULT, CHANGE, DESCRIPTION) "choices\t" CHOICES "\n",         \
     IXLA_KEY_CHECK(NAME, CHANGE, DESCRIPTION) static_assert(                                      \
         PKeyLiteral(CHOICES).isWords(), "a choice of " NAME " has a blank, a tab or a line "      \
                                         "break");                                                 \
     static_assert(PKeyLiteral(CHOICES).hasChoice(PKeyLiteral(DEFAULT)),                           \
                   "the default of " NAME " is not one of its choices");                           \
     PChoiceKey MEMBER{fKeys, IXLA_KEY_TEXTS(NAME, DEFAULT, "one of " CHOICES, CHANGE),            \
                       L"" CHOICES};)

/// The same with bytes: DEFAULT is a text with two hexadecimal digits for each.
#define IXLA_KEY_BYTES(MEMBER, NAME, DEFAULT, CHANGE, DESCRIPTION)                                 \
    (IXLA_KEY_NOTE("bytes", NAME, DEFAULT, CHANGE, DESCRIPTION),                                   \
     IXLA_KEY_CHECK(NAME, CHANGE, DESCRIPTION) static_assert(                                      \
         PKeyLiteral(DEFAULT).isBytes(), "the default of " NAME " does not have two "              \
                                         "hexadecimal digits for each byte");                      \
     PBytesKey MEMBER{fKeys,                                                                       \
                      IXLA_KEY_TEXTS(NAME, DEFAULT, "bytes of two hexadecimal digits", CHANGE)};)

/// @cond
// Each key expands to (NOTE, MEMBER); the missing ones of 64 are pairs of nothing.
#define IXLA_KEY_NOTE_OF(NOTE, ...) NOTE
#define IXLA_KEY_MEMBER_OF(NOTE, ...) __VA_ARGS__
#define IXLA_KEY_NONE(...)
#define IXLA_KEY_LIMIT(NOTE, ...)                                                                  \
    static_assert(sizeof("" NOTE) == 1, "IXLA_CONFIG has more than 64 keys");

#define IXLA_KEY_NOTE(TYPE, NAME, DEFAULT, CHANGE, DESCRIPTION)                                    \
    "key\t" NAME "\t" TYPE "\t" CHANGE "\ndefault\t" DEFAULT "\ndescription\t" DESCRIPTION "\n"
#define IXLA_KEY_TEXTS(NAME, DEFAULT, EXPECTED, CHANGE)                                            \
    PKeyTexts                                                                                      \
    {                                                                                              \
        L"" NAME, L"" DEFAULT, L"" EXPECTED, PKeyLiteral(CHANGE).isChangedAtRunTime()              \
    }
#define IXLA_KEY_CHECK(NAME, CHANGE, DESCRIPTION)                                                  \
    static_assert(PKeyLiteral(NAME).isName(), "the key " NAME " has tabs, line breaks, \"=\", "    \
                                              "\":\" or \"|\", or blanks at its ends");            \
    static_assert(PKeyLiteral(CHANGE).isChange(),                                                  \
                  "the change of " NAME " is neither start nor run-time");                         \
    static_assert(PKeyLiteral(DESCRIPTION).isField(),                                              \
                  "the description of " NAME " has a tab or a line break");
#define IXLA_KEY_NUMBER(TYPE, TYPE_NAME, MEMBER, NAME, DEFAULT, LOW, HIGH, UNIT, CHANGE,           \
                        DESCRIPTION)                                                               \
    (IXLA_KEY_NOTE(TYPE_NAME, NAME, #DEFAULT, CHANGE, DESCRIPTION) "range\t" #LOW "\t" #HIGH       \
                                                                   "\nunit\t" UNIT "\n",           \
     IXLA_KEY_CHECK(NAME, CHANGE, DESCRIPTION) static_assert(                                      \
         PKeyLiteral(UNIT).isField(), "the unit of " NAME " has a tab or a line break");           \
     static_assert(PKeyLiteral(#DEFAULT).isNumber<TYPE>() && PKeyLiteral(#LOW).isNumber<TYPE>() && \
                       PKeyLiteral(#HIGH).isNumber<TYPE>(),                                        \
                   "a number of " NAME " is not a plain decimal number of its type");              \
     static_assert(PKeyLiteral(#LOW).number<TYPE>() <= PKeyLiteral(#DEFAULT).number<TYPE>() &&     \
                       PKeyLiteral(#DEFAULT).number<TYPE>() <= PKeyLiteral(#HIGH).number<TYPE>(),  \
                   "the default of " NAME " is out of its range");                                 \
     PNumberKey<TYPE> MEMBER{                                                                      \
         fKeys, IXLA_KEY_TEXTS(NAME, #DEFAULT, "a number from " #LOW " to " #HIGH, CHANGE),        \
         PKeyLiteral(#LOW).number<TYPE>(), PKeyLiteral(#HIGH).number<TYPE>()};)

#define IXLA_KEY_EACH(MACRO, BEYOND, ...)                                                          \
    IXLA_KEY_EACH_64(MACRO, BEYOND, __VA_ARGS__, (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ),   \
                     (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), \
                     (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), \
                     (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), \
                     (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), (, ), \
                     (, ), (, ), (, ), (, ), (, ))
#define IXLA_KEY_EACH_64(MACRO, BEYOND, k1, k2, k3, k4, k5, k6, k7, k8, k9, k10, k11, k12, k13,    \
                         k14, k15, k16, k17, k18, k19, k20, k21, k22, k23, k24, k25, k26, k27,     \
                         k28, k29, k30, k31, k32, k33, k34, k35, k36, k37, k38, k39, k40, k41,     \
                         k42, k43, k44, k45, k46, k47, k48, k49, k50, k51, k52, k53, k54, k55,     \
                         k56, k57, k58, k59, k60, k61, k62, k63, k64, k65, ...)                    \
    MACRO k1 MACRO k2 MACRO k3 MACRO k4 MACRO k5 MACRO k6 MACRO k7 MACRO k8 MACRO k9 MACRO k10     \
        MACRO k11 MACRO k12 MACRO k13 MACRO k14 MACRO k15 MACRO k16 MACRO k17 MACRO k18 MACRO k19  \
            MACRO k20 MACRO k21 MACRO k22 MACRO k23 MACRO k24 MACRO k25 MACRO k26 MACRO k27 MACRO  \
                k28 MACRO k29 MACRO k30 MACRO k31 MACRO k32 MACRO k33 MACRO k34 MACRO k35 MACRO    \
                    k36 MACRO k37 MACRO k38 MACRO k39 MACRO k40 MACRO k41 MACRO k42 MACRO k43      \
                        MACRO k44 MACRO k45 MACRO k46 MACRO k47 MACRO k48 MACRO k49 MACRO k50      \
                            MACRO k51 MACRO k52 MACRO k53 MACRO k54 MACRO k55 MACRO k56 MACRO k57  \
                                MACRO k58 MACRO k59 MACRO k60 MACRO k61 MACRO k62 MACRO k63 MACRO  \
                                    k64 BEYOND k65
/// @endcond

#endif
