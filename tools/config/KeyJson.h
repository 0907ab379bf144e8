// SPDX-License-Identifier: MIT
// KeyJson: prints JSON, and a declared key as JSON.
#ifndef IXLAL_TOOLS_KEYJSON_H
#define IXLAL_TOOLS_KEYJSON_H

#include "shared/DeclaredKey.h"

#include <nlohmann/json.hpp>

/// Members that a type does not have are missing.
nlohmann::json keyJson(const DeclaredKey& iKey);

/// Prints to the standard output. Bytes that are not UTF-8 are replaced.
void printJson(const nlohmann::json& iJson);

#endif
