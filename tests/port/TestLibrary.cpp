// SPDX-License-Identifier: MIT
// A library that LibraryTest loads.
extern "C" __attribute__((visibility("default"))) int testAnswer();
extern "C" __attribute__((visibility("default"))) int testShared();

int testAnswer()
{
    return 42;
}

int testShared()
{
    return 1;
}
