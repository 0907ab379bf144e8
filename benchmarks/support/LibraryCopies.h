// SPDX-License-Identifier: MIT
// LibraryCopies: directories full of small libraries.
#ifndef IXLAL_BENCHMARKS_LIBRARYCOPIES_H
#define IXLAL_BENCHMARKS_LIBRARYCOPIES_H

#include <filesystem>
#include <string>
#include <vector>

/// Copies of one library on tmpfs. They are files of their own, which the loader takes for as many
/// libraries. A directory is made when it is first asked for and goes with the process.
namespace LibraryCopies
{
/// A directory with iCount of the small plugin, each with an interface ID of its own.
const std::filesystem::path& plugins(int iCount);

/// The interface ID of the copy number iNumber.
std::wstring interfaceId(int iNumber);

/// A directory with iCount libraries for POCO's class loader.
const std::filesystem::path& pocoLibraries(int iCount);

/// The paths of the libraries in a directory, in the order of their names.
std::vector<std::string> list(const std::filesystem::path& iDirectory);

/// How many libraries of such directories the process has loaded.
int loaded();

/// Closes the libraries in a directory, each of which somebody has opened and left open.
void unload(const std::filesystem::path& iDirectory);
} // namespace LibraryCopies

#endif
