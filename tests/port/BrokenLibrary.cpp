// SPDX-License-Identifier: MIT
// A library with an undefined symbol, so that binding all symbols at once fails.
extern "C" int symbolThatNobodyDefines();
extern "C" __attribute__((visibility("default"))) int testBroken();

int testBroken()
{
    return symbolThatNobodyDefines();
}
