// SPDX-License-Identifier: MIT
// PExport: marks what a library exports; everything else is hidden.
#ifndef IXLAL_PEXPORT_H
#define IXLAL_PEXPORT_H

#define IXLA_EXPORT __attribute__((visibility("default")))

#endif
