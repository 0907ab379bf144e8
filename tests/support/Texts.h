// SPDX-License-Identifier: MIT
// Texts: converts between the narrow texts of tests and the wide texts of the system.
#ifndef IXLAL_TESTS_TEXTS_H
#define IXLAL_TESTS_TEXTS_H

#include "portinglayer/PString.h"

#include <ostream>
#include <string>
#include <vector>

/// Convert UTF-8 to wide text and back.
PString wide(const std::string& iText);
std::string narrow(const PLiteral& iText);
std::vector<std::string> narrow(const std::vector<PString>& iTexts);

/// Prints a text in a failure message.
void PrintTo(const PLiteral& iText, std::ostream* oStream);
void PrintTo(const PString& iText, std::ostream* oStream);

#endif
