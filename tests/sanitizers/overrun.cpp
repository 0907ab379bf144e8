// SPDX-License-Identifier: MIT
// Reads beyond the end of an array, at an index that is known only at run time.
int main(int iCount, char**)
{
    const volatile int array[4] = {};
    const volatile int* const first = array;
    return first[iCount + 3];
}
