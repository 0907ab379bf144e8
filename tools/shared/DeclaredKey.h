// SPDX-License-Identifier: MIT
// DeclaredKey: a configuration key that a plugin declares.
#ifndef IXLAL_TOOLS_DECLAREDKEY_H
#define IXLAL_TOOLS_DECLAREDKEY_H

#include "portinglayer/PLiteral.h"

#include <string>
#include <vector>

/// The texts are UTF-8, possibly with control characters; see shownUtf8.
struct DeclaredKey
{
    enum EType
    {
        eInt32,
        eUint32,
        eInt64,
        eUint64,
        eBool,
        eText,
        eChoice,
        eBytes,
        eUnknown ///< of a newer version; any value is accepted
    };

    std::string name;
    EType type = eUnknown;
    bool changes = false; ///< setting it at run time has an effect
    std::string byDefault;
    std::string low; ///< of a number
    std::string high;
    std::vector<std::string> choices;
    std::string unit; ///< empty for none
    std::string description;
};

/// Whether the type is a number.
bool isNumber(DeclaredKey::EType iType);

/// The type with this name in a note.
DeclaredKey::EType typeOfName(const std::string& iName);

/// The name of a type in a note; empty for an unknown one.
std::string nameOfType(DeclaredKey::EType iType);

/// The values that a key accepts, for a reader: "number from 1 to 10 (jobs)".
std::string acceptedText(const DeclaredKey& iKey);

/// acceptedText, the default, and when changes have an effect.
std::string summaryOf(const DeclaredKey& iKey);

/// Why a value is refused: "not a number from 1 to 10". Empty for an accepted one.
std::string refusalOf(const DeclaredKey& iKey, const PLiteral& iValue);

#endif
