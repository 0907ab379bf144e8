// SPDX-License-Identifier: MIT
// Has the headers of the tools precompiled; does nothing itself.

int main()
{
}
