// SPDX-License-Identifier: MIT
/// @file
/// judgeInformation: compares the plugin information with what the plugin offers.
#ifndef IXLAL_TOOLS_INFORMATIONCHECK_H
#define IXLAL_TOOLS_INFORMATIONCHECK_H

#include "validate/PVerdict.h"

#include <set>
#include <string>

/// Passes when the library at iPlugin says nothing about itself, or when its plugin information is
/// whole and names the interfaces iOffered, and no others.
PVerdict judgeInformation(const std::string& iPlugin, const std::set<std::string>& iOffered);

#endif
