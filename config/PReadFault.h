// SPDX-License-Identifier: MIT
// PReadFault: the line at which reading a configuration file failed, and the error.
#ifndef IXLAL_PREADFAULT_H
#define IXLAL_PREADFAULT_H

struct PReadFault
{
    unsigned int line = 0; ///< counted from 1; 0 for a file that could not be opened
    int code = 0;          ///< 0 for a file that was read to its end
};

#endif
