// SPDX-License-Identifier: MIT
// PVectorLayout: a compile-time check that std::vector has the layout that the libraries use.
#ifndef IXLAL_PVECTORLAYOUT_H
#define IXLAL_PVECTORLAYOUT_H

#include <vector>

// Some operations pass a std::vector between libraries, so all of them need the same layout.
#ifndef __GLIBCXX__
#error "ixlal passes std::vector between libraries and needs that of libstdc++"
#elif defined(_GLIBCXX_DEBUG)
#error "ixlal passes std::vector between libraries; _GLIBCXX_DEBUG changes it"
#endif

static_assert(sizeof(std::vector<void*>) == 3 * sizeof(void*),
              "ixlal passes std::vector between libraries; a setting changes it");

#endif
