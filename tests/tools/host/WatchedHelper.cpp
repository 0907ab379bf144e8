// SPDX-License-Identifier: MIT
// A library without a factory that a plugin needs.

extern "C" int watchedHelperVersion();

int watchedHelperVersion()
{
    return WATCHED_VERSION;
}
