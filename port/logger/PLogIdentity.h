// SPDX-License-Identifier: MIT
// PLogIdentity: identifies an open log file.
#ifndef IXLAL_PLOGIDENTITY_H
#define IXLAL_PLOGIDENTITY_H

/// Device and number of a file; unique while the file is open.
struct PLogIdentity
{
    unsigned long long device;
    unsigned long long node;

    bool is(unsigned long long iDevice, unsigned long long iNode) const noexcept
    {
        return iDevice == device && iNode == node;
    }
};

#endif
