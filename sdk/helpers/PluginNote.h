// SPDX-License-Identifier: MIT
/// @file
/// IXLA_PLUGIN_NOTE: puts a text into a plugin library, for tools that do not run its code.
#ifndef IXLAL_SDK_PLUGINNOTE_H
#define IXLAL_SDK_PLUGINNOTE_H

#include <cstddef>
#include <cstdint>

/// What a note is about.
enum EIxlaNote : std::uint32_t
{
    eIxlaNoteInfo = 1, ///< the plugin; see IXLA_PLUGIN_INFO
    eIxlaNoteKeys = 2  ///< the keys of one configuration ID
};

/// The size of the owner's name, with the zero at its end.
constexpr std::uint32_t kIxlaNoteOwnerSize = 6;

/// A note as it is in the file: an ELF note of the owner "ixlal". The structure has no gaps, and
/// the next note follows at the next multiple of 4, as the format demands.
template <std::size_t kTextSize>
struct IxlaNote
{
    std::uint32_t ownerSize; ///< with the zero at the end
    std::uint32_t textSize;  ///< with the zero at the end
    std::uint32_t type;      ///< an EIxlaNote
    char owner[8];           ///< "ixlal"
    char text[kTextSize];    ///< see IXLA_PLUGIN_NOTE
};

/// The attributes of a note. The address sanitizer of clang would put bytes between the notes.
#ifdef __clang__
#define IXLA_NOTE_ATTRIBUTES section(".note.ixlal"), used, aligned(4), no_sanitize("address")
#else
#define IXLA_NOTE_ATTRIBUTES section(".note.ixlal"), used, aligned(4)
#endif

/// Puts a note of a type into the library. The text is a string literal in UTF-8 of lines: a name,
/// values with a tab before each, and a line feed. The macro adds the first line, the version of
/// the format. Use it in any source of the library, at namespace scope, as often as needed. The
/// linker and strip never remove the note, and it exports no symbol.
#define IXLA_PLUGIN_NOTE(TYPE, ...) IXLA_NUMBERED_NOTE(__COUNTER__, TYPE, "1\n" __VA_ARGS__)

/// A note with a number. Used by IXLA_PLUGIN_NOTE.
#define IXLA_NUMBERED_NOTE(NUMBER, TYPE, ...) IXLA_NAMED_NOTE(NUMBER, TYPE, __VA_ARGS__)

/// A note with the digits of its number. Used by IXLA_PLUGIN_NOTE.
#define IXLA_NAMED_NOTE(NUMBER, TYPE, ...)                                                         \
    __attribute__((IXLA_NOTE_ATTRIBUTES)) static const IxlaNote<sizeof(__VA_ARGS__)>               \
        sIxlaNote##NUMBER = {kIxlaNoteOwnerSize, sizeof(__VA_ARGS__), TYPE, "ixlal", __VA_ARGS__};

/// A list of string literals, 64 at most, as one literal.
#define IXLA_JOINED(...)                                                                           \
    IXLA_FIRST_64(__VA_ARGS__, , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , \
                  , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , , )

/// Nothing; with an argument after it, no token. Used by IXLA_JOINED.
#define IXLA_AT_MOST_64_

/// The first 64 arguments, if no other one has a text. Used by IXLA_JOINED.
#define IXLA_FIRST_64(t1, t2, t3, t4, t5, t6, t7, t8, t9, t10, t11, t12, t13, t14, t15, t16, t17,  \
                      t18, t19, t20, t21, t22, t23, t24, t25, t26, t27, t28, t29, t30, t31, t32,   \
                      t33, t34, t35, t36, t37, t38, t39, t40, t41, t42, t43, t44, t45, t46, t47,   \
                      t48, t49, t50, t51, t52, t53, t54, t55, t56, t57, t58, t59, t60, t61, t62,   \
                      t63, t64, t65, ...)                                                          \
    t1 t2 t3 t4 t5 t6 t7 t8 t9 t10 t11 t12 t13 t14 t15 t16 t17 t18 t19 t20 t21 t22 t23 t24 t25 t26 \
        t27 t28 t29 t30 t31 t32 t33 t34 t35 t36 t37 t38 t39 t40 t41 t42 t43 t44 t45 t46 t47 t48    \
            t49 t50 t51 t52 t53 t54 t55 t56 t57 t58 t59 t60 t61 t62 t63 t64 IXLA_AT_MOST_64_##t65

#endif
