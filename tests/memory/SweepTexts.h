// SPDX-License-Identifier: MIT
// Texts for the sweeps of configurations.
#ifndef IXLAL_TESTS_SWEEPTEXTS_H
#define IXLAL_TESTS_SWEEPTEXTS_H

#include <string>

/// Too long for any buffer on the stack.
inline const std::string sLong(300, 'x');
inline const std::string sLongKey(200, 'k');

inline const std::string sExactRoom = "a text that has to grow makes do with the exact room";

#endif
