// SPDX-License-Identifier: MIT
// Check: ends the process when something doesn't hold, which is how a fuzzer learns of it.
#ifndef IXLAL_TESTS_FUZZ_CHECK_H
#define IXLAL_TESTS_FUZZ_CHECK_H

#include <string>

void check(bool iHolds, const char* iWhat);

/// Also tell what was found and what was expected.
void checkCode(int iFound, int iExpected, const char* iWhat);
void checkText(const std::wstring& iFound, const std::wstring& iExpected, const char* iWhat);
void checkBytes(const std::string& iFound, const std::string& iExpected, const char* iWhat);

#endif
