// SPDX-License-Identifier: MIT
/// @file
/// PExport: marks the symbols that a library exports.
#ifndef IXLAL_PEXPORT_H
#define IXLAL_PEXPORT_H

/// A class or function that a library exports. All other symbols are hidden.
#define IXLA_EXPORT __attribute__((visibility("default")))

#endif
