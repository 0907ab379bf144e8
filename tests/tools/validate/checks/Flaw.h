// SPDX-License-Identifier: MIT
// hasFlaw: the flaw that a test plugin shall have.
#ifndef IXLAL_TESTS_FLAW_H
#define IXLAL_TESTS_FLAW_H

#include <cstdlib>
#include <cstring>

/// Whether FLAW in the environment is iFlaw. Without FLAW a plugin keeps the contract.
inline bool hasFlaw(const char* iFlaw)
{
    const char* const flaw = std::getenv("FLAW");
    return flaw && std::strcmp(flaw, iFlaw) == 0;
}

#endif
