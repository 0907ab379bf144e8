# SPDX-License-Identifier: MIT
"""Shows the core of ixlal in gdb, in a process that hangs and in a core dump. No function of the
process is called: a process that hangs or is dead cannot run code."""
