// SPDX-License-Identifier: MIT
/// @file
/// loadedLibraries: the program and the libraries in this process.
#ifndef IXLAL_TOOLS_LOADEDLIBRARIES_H
#define IXLAL_TOOLS_LOADEDLIBRARIES_H

#include "shared/PElfNotes.h"

#include <cstdint>
#include <string>
#include <vector>

struct LoadedLibrary
{
    std::string path;    ///< absolute, with links as they were opened
    std::string buildId; ///< in hexadecimal; empty for a library without one
    std::uintptr_t address = 0;
    std::vector<NoteSegment> notes; ///< in memory, whatever has become of the file
    long long size = -1;            ///< of the file; -1 when it does not exist any more
};

/// The program first, then the libraries in the order of loading.
std::vector<LoadedLibrary> loadedLibraries();

#endif
