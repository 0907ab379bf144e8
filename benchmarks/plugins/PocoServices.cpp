// SPDX-License-Identifier: MIT
// A library for POCO's class loader with as many single-object classes as an environment variable
// says.

#include "lookup/PocoService.h"
#include "support/InterfacesPlugin.h"

#include <Poco/ClassLibrary.h>
#include <cstdlib>
#include <string>

POCO_BEGIN_MANIFEST(PocoService)
const char* const number = std::getenv(kInterfacesVariable);
for (int i = 0; i < (number ? std::atoi(number) : 0); ++i)
{
    const std::wstring id = benchInterfaceId(i);
    const std::string name(id.begin(), id.end());
    pManifest->insert(new Poco::MetaSingleton<PocoService, _Base>(name.c_str()));
}
POCO_END_MANIFEST
