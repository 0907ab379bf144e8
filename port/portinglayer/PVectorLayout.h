// SPDX-License-Identifier: MIT
// PVectorLayout: refuses to compile where std::vector is another than that of the libraries.
#ifndef IXLAL_PVECTORLAYOUT_H
#define IXLAL_PVECTORLAYOUT_H

#include <vector>

// Some operations pass a vector from one library to another, so both must know the same one.
#ifndef __GLIBCXX__
#error "ixlal passes std::vector between libraries and needs that of libstdc++"
#elif defined(_GLIBCXX_DEBUG)
#error "ixlal passes std::vector between libraries; _GLIBCXX_DEBUG changes it"
#endif

static_assert(sizeof(std::vector<void*>) == 3 * sizeof(void*),
              "ixlal passes std::vector between libraries; a setting changes it");

#endif
