# SPDX-License-Identifier: MIT
"""The commands that the tests run."""

ALL = ("status", "plugins", "waits", "interfaces", "listeners", "locks", "config", "config --core",
       "config ixlap.global", "config test.id")
