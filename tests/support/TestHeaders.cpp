// SPDX-License-Identifier: MIT
// The source of the precompiled header of the tests; otherwise empty.
