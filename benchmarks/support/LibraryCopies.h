// SPDX-License-Identifier: MIT
// LibraryCopies: directories with many copies of a small library.
#ifndef IXLAL_BENCHMARKS_LIBRARYCOPIES_H
#define IXLAL_BENCHMARKS_LIBRARYCOPIES_H

#include <filesystem>
#include <string>
#include <vector>

/// Copies of one library on tmpfs. They are separate files, which the loader loads as separate
/// libraries. A directory is created at its first use and removed at the end of the process.
namespace LibraryCopies
{
/// A directory with iCount copies of the small plugin, each with its own interface ID.
const std::filesystem::path& plugins(int iCount);

/// The interface ID of the copy number iNumber.
std::wstring interfaceId(int iNumber);

/// A directory with iCount libraries for POCO's class loader.
const std::filesystem::path& pocoLibraries(int iCount);

/// The paths of the libraries in a directory, in the order of their names.
std::vector<std::string> list(const std::filesystem::path& iDirectory);

/// The number of loaded libraries of such directories.
int loaded();

/// Closes the libraries in a directory, each of which must have been opened once.
void unload(const std::filesystem::path& iDirectory);
} // namespace LibraryCopies

#endif
