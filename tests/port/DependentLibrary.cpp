// SPDX-License-Identifier: MIT
// A library that LibraryTest loads; it is linked against TestLibrary.
extern "C" __attribute__((visibility("default"))) int testDependent();
extern "C" __attribute__((visibility("default"), alias("testDependent"))) int testAlias();
extern "C" __attribute__((visibility("default"))) int testShared();

int testDependent()
{
    return 7;
}

int testShared()
{
    return 2;
}
