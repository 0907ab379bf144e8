// SPDX-License-Identifier: MIT
// A plugin with more exported symbols than its factory, which the version script must hide.

#include "Ixla.h"

#include <string>

template <class T>
struct Shared
{
    static T sValue; // a unique symbol, which would keep the library loaded
};
template <class T>
T Shared<T>::sValue{};

IXLA_EXPORT std::string second()
{
    static std::string sText = "more";
    return sText + Shared<std::string>::sValue;
}

IPlugin* ixlaGetPlugin()
{
    return nullptr;
}
