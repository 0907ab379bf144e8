// SPDX-License-Identifier: MIT
// FloorConfig: configuration values as the floors store, load and save them.
#ifndef IXLAL_BENCHMARKS_FLOORCONFIG_H
#define IXLAL_BENCHMARKS_FLOORCONFIG_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct FloorRecord
{
    std::wstring value;
    std::map<std::wstring, std::wstring, std::less<>> attributes;
    bool pinned = false;
};

/// Values that change, in a plain std::map.
typedef std::map<std::wstring, FloorRecord, std::less<>> FloorValues;

/// A line "key = value" or "key:attribute = value" of a file; the attribute may be empty.
template <class TChar>
struct FloorEntry
{
    std::basic_string_view<TChar> key;
    std::basic_string_view<TChar> attribute;
    std::basic_string_view<TChar> value;
};

/// Values that are only read: the texts are decoded into one block, the entries are in the order of
/// their keys. A file that is in this order is not sorted.
class FloorConfig
{
public:
    /// Returns whether every line was read.
    bool load(const std::string& iPath);

    /// Returns null when there is no value.
    const std::wstring_view* find(std::wstring_view iKey) const;

private:
    std::unique_ptr<wchar_t[]> fText;
    std::vector<FloorEntry<wchar_t>> fEntries;
};

/// Reads a file of values, changes one and writes the file again, in the order of its keys. The
/// texts stay bytes, because the order of characters is that of their bytes. The file is deleted
/// and created with access for its owner only. Returns whether everything succeeded.
bool floorStore(const std::string& iPath, std::string_view iKey, std::string_view iValue);

#endif
