// SPDX-License-Identifier: MIT
// Compiles the precompiled headers of the tools; has no other purpose.

int main()
{
}
