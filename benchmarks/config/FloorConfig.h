// FloorConfig: configuration values as the floors keep, load and save them.
#ifndef IXLAL_BENCHMARKS_FLOORCONFIG_H
#define IXLAL_BENCHMARKS_FLOORCONFIG_H

#include <functional>
#include <map>
#include <string>

struct FloorRecord
{
    std::wstring value;
    std::map<std::wstring, std::wstring, std::less<>> attributes;
    bool pinned = false;
};

/// A plain map of the standard library.
typedef std::map<std::wstring, FloorRecord, std::less<>> FloorValues;

/// Reads a file of lines "key = value" and "key:attribute = text": all of it at once, then each
/// line's ends are found, its parts trimmed as bytes and decoded into the texts that the map keeps.
/// Sorted files are inserted without a search. Returns whether every line was read.
bool floorLoad(const std::string& iPath, FloorValues& ioValues);

/// Deletes the file, creates it anew for its owner alone and writes all values at once.
bool floorSave(const std::string& iPath, const FloorValues& iValues);

#endif
