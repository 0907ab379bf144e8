// SPDX-License-Identifier: MIT
// textThrown: what the test kit says when something does not happen.
#ifndef IXLAL_TESTS_THROWN_H
#define IXLAL_TESTS_THROWN_H

#include "testkit/PTestError.h"

#include <string>

/// The text of the PTestError that iFunction throws; empty when it throws none.
template <class TFunction>
std::string textThrown(const TFunction& iFunction)
{
    try
    {
        iFunction();
    }
    catch (const PTestError& problem)
    {
        return problem.what();
    }
    return "";
}

#endif
