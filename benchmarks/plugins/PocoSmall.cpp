// SPDX-License-Identifier: MIT
// A library for POCO's class loader with one class, to be copied.

#include "lookup/PocoService.h"

#include <Poco/ClassLibrary.h>

namespace
{
class PocoSmall : public PocoService
{
};
} // namespace

POCO_BEGIN_MANIFEST(PocoService)
POCO_EXPORT_CLASS(PocoSmall)
POCO_END_MANIFEST
