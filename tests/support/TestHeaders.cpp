// SPDX-License-Identifier: MIT
// Has the headers of the tests precompiled; holds nothing itself.
