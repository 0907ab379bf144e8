// SPDX-License-Identifier: MIT
// The topics of tests that need no special ones.
#ifndef IXLAL_TESTS_TESTTOPICS_H
#define IXLAL_TESTS_TESTTOPICS_H

#include "portinglayer/PLiteral.h"

inline const PLiteral kTopic(L"test.topic");
inline const PLiteral kOther(L"test.other");
inline const PLiteral kEmpty;

#endif
