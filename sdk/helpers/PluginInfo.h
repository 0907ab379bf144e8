// SPDX-License-Identifier: MIT
/// @file
/// IXLA_PLUGIN_INFO: what a plugin library says about itself, for tools that do not run its code.
#ifndef IXLAL_SDK_PLUGININFO_H
#define IXLAL_SDK_PLUGININFO_H

#include "helpers/PInfoText.h"
#include "helpers/PluginNote.h"

///@{
/// A field of IXLA_PLUGIN_INFO. Texts are string literals in UTF-8 without tabs and line breaks.
#define IXLA_INFO_NAME(TEXT) "name\t" TEXT "\n"
#define IXLA_INFO_VERSION(TEXT) "version\t" TEXT "\n"
#define IXLA_INFO_DESCRIPTION(TEXT) "description\t" TEXT "\n"
#define IXLA_INFO_AUTHOR(TEXT) "author\t" TEXT "\n"
#define IXLA_INFO_LICENSE(TEXT) "license\t" TEXT "\n"
#define IXLA_INFO_URL(TEXT) "url\t" TEXT "\n"
///@}

/// The oldest version of the core that the plugin works with: "1.2.3".
#define IXLA_INFO_CORE(VERSION) "core\t" VERSION "\n"

/// An interface that the plugin offers, and what it is for, in one line.
#define IXLA_INFO_OFFERS(ID, TEXT) "offers\t" ID "\t" TEXT "\n"

/// An interface that the plugin needs in order to initialise. The services of the core need not be
/// named.
#define IXLA_INFO_REQUIRES(ID) "requires\t" ID "\n"

/// An interface that the plugin uses if there is one.
#define IXLA_INFO_OPTIONAL(ID) "optional\t" ID "\n"

/// Says what a plugin library is:
///
///     IXLA_PLUGIN_INFO(IXLA_INFO_NAME("hello"), IXLA_INFO_VERSION("1.0.0"),
///                      IXLA_INFO_OFFERS("com.example.hello", "greets"))
///
/// The name and the version are needed; fields with an ID may be repeated. There are 64 fields at
/// most. Mistakes are errors of the compiler. Use it once in a library, in any source, at global
/// scope. Plugins without it work, too.
#define IXLA_PLUGIN_INFO(...)                                                                      \
    static_assert(!ixlaHasRepeatedId(__VA_ARGS__),                                                 \
                  "IXLA_PLUGIN_INFO: an interface ID is named twice");                             \
    IXLA_CHECK_PLUGIN_INFO(IXLA_JOINED(__VA_ARGS__))                                               \
    IXLA_PLUGIN_NOTE(eIxlaNoteInfo, IXLA_JOINED(__VA_ARGS__))

/// The checks of a plugin information that need its whole text. Used by IXLA_PLUGIN_INFO.
#define IXLA_CHECK_PLUGIN_INFO(...)                                                                \
    static_assert(PInfoText(__VA_ARGS__).countOf("name") == 1,                                     \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_NAME once");                                   \
    static_assert(PInfoText(__VA_ARGS__).countOf("version") == 1,                                  \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_VERSION once");                                \
    static_assert(PInfoText(__VA_ARGS__).countOf("description") <= 1,                              \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_DESCRIPTION once at most");                    \
    static_assert(PInfoText(__VA_ARGS__).countOf("author") <= 1,                                   \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_AUTHOR once at most");                         \
    static_assert(PInfoText(__VA_ARGS__).countOf("license") <= 1,                                  \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_LICENSE once at most");                        \
    static_assert(PInfoText(__VA_ARGS__).countOf("url") <= 1,                                      \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_URL once at most");                            \
    static_assert(PInfoText(__VA_ARGS__).countOf("core") <= 1,                                     \
                  "IXLA_PLUGIN_INFO: give IXLA_INFO_CORE once at most");                           \
    static_assert(PInfoText(__VA_ARGS__).hasPlainTexts(),                                          \
                  "IXLA_PLUGIN_INFO: a text has a tab or a line break");                           \
    static_assert(!PInfoText(__VA_ARGS__).hasBadCharacter(),                                       \
                  "IXLA_PLUGIN_INFO: a text is empty or has a control character");                 \
    static_assert(PInfoText(__VA_ARGS__).hasGoodCore(),                                            \
                  "IXLA_PLUGIN_INFO: IXLA_INFO_CORE is not of the form 1.2.3");                    \
    static_assert(!PInfoText(__VA_ARGS__).hasBlankInId(),                                          \
                  "IXLA_PLUGIN_INFO: an interface ID has a blank");

#endif
