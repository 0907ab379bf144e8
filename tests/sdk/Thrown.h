// SPDX-License-Identifier: MIT
// textThrown: the text of an error of the test kit.
#ifndef IXLAL_TESTS_THROWN_H
#define IXLAL_TESTS_THROWN_H

#include "testkit/PTestError.h"

#include <string>

/// The text of the PTestError that iFunction throws; empty if it throws none.
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
