// SPDX-License-Identifier: MIT
// An interface with an operation that no test sweeps, which check_sweeps.sh must report.
#ifndef IXLAL_UNSWEPT_H
#define IXLAL_UNSWEPT_H

class IUnswept
{
public:
    virtual int forgotten(int iValue) = 0;
};

#endif
