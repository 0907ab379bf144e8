// SPDX-License-Identifier: MIT
// A library that lacks a symbol, so that binding it at once fails.
extern "C" int symbolThatNobodyDefines();
extern "C" __attribute__((visibility("default"))) int testBroken();

int testBroken()
{
    return symbolThatNobodyDefines();
}
