// SPDX-License-Identifier: MIT
// PocoService: what the classes of the class loader's library derive from.
#ifndef IXLAL_BENCHMARKS_POCOSERVICE_H
#define IXLAL_BENCHMARKS_POCOSERVICE_H

class PocoService
{
public:
    virtual ~PocoService() = default;
};

#endif
