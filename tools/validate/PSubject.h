// SPDX-License-Identifier: MIT
// PSubject: a library to validate.
#ifndef IXLAL_TOOLS_PSUBJECT_H
#define IXLAL_TOOLS_PSUBJECT_H

#include <string>

struct PSubject
{
    std::string given;      ///< as reports name it
    std::string path;       ///< absolute
    std::string pluginsDir; ///< of other libraries that it needs; empty for none
};

#endif
