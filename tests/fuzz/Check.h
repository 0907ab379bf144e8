// SPDX-License-Identifier: MIT
// Check: ends the process when a condition fails, so that the fuzzer notices.
#ifndef IXLAL_TESTS_FUZZ_CHECK_H
#define IXLAL_TESTS_FUZZ_CHECK_H

#include <string>
#include <string_view>

void check(bool iHolds, const char* iWhat);

/// Also print the actual and the expected value.
void checkCode(int iFound, int iExpected, const char* iWhat);
void checkText(std::wstring_view iFound, std::wstring_view iExpected, const char* iWhat);
void checkBytes(const std::string& iFound, const std::string& iExpected, const char* iWhat);

#endif
