// SPDX-License-Identifier: MIT
// Reads behind the end of an array, at a place that only the run decides.
int main(int iCount, char**)
{
    const volatile int array[4] = {};
    const volatile int* const first = array;
    return first[iCount + 3];
}
