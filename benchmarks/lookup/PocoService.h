// SPDX-License-Identifier: MIT
// PocoService: the base class of the classes in the class loader's library.
#ifndef IXLAL_BENCHMARKS_POCOSERVICE_H
#define IXLAL_BENCHMARKS_POCOSERVICE_H

class PocoService
{
public:
    virtual ~PocoService() = default;
};

#endif
