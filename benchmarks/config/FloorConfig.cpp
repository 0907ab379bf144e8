// SPDX-License-Identifier: MIT
#include "config/FloorConfig.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{
/// A file descriptor that closes itself.
class Handle
{
public:
    explicit Handle(int iHandle) : fHandle(iHandle)
    {
    }

    ~Handle()
    {
        ::close(fHandle);
    }

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    int get() const
    {
        return fHandle;
    }

private:
    int fHandle;
};

bool _isBlank(char iByte)
{
    return iByte == ' ' || (iByte >= '\t' && iByte <= '\r');
}

std::string_view _trimmed(std::string_view iText)
{
    while (!iText.empty() && _isBlank(iText.back()))
    {
        iText.remove_suffix(1);
    }
    while (!iText.empty() && _isBlank(iText.front()))
    {
        iText.remove_prefix(1);
    }
    return iText;
}

/// A whole file in one block.
struct Bytes
{
    std::unique_ptr<char[]> block;
    std::size_t size = 0;
};

bool _read(const std::string& iPath, Bytes& oBytes)
{
    const Handle file(::open(iPath.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0)
    {
        return false;
    }
    oBytes.size = static_cast<std::size_t>(status.st_size);
    oBytes.block.reset(new char[oBytes.size]);
    std::size_t done = 0;
    while (done < oBytes.size)
    {
        const ssize_t count = ::read(file.get(), oBytes.block.get() + done, oBytes.size - done);
        if (count <= 0)
        {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool _parseLine(std::string_view iLine, FloorEntry<char>& oEntry)
{
    const std::size_t equals = iLine.find('=');
    if (equals == std::string_view::npos)
    {
        return false;
    }
    const std::string_view name = iLine.substr(0, equals);
    const std::size_t colon = name.find(':');
    oEntry.key = _trimmed(name.substr(0, colon));
    oEntry.attribute =
        colon == std::string_view::npos ? std::string_view() : _trimmed(name.substr(colon + 1));
    oEntry.value = _trimmed(iLine.substr(equals + 1));
    return !oEntry.key.empty();
}

/// Passes the entry of each line to iTake. Returns whether every line was an entry.
template <class TTake>
bool _parse(std::string_view iText, TTake iTake)
{
    FloorEntry<char> entry;
    while (!iText.empty())
    {
        const std::size_t end = iText.find('\n');
        const std::string_view line = _trimmed(iText.substr(0, end));
        iText.remove_prefix(end == std::string_view::npos ? iText.size() : end + 1);
        if (line.empty() || line.front() == '#')
        {
            continue;
        }
        if (!_parseLine(line, entry))
        {
            return false;
        }
        iTake(entry);
    }
    return true;
}

/// The order of a file: by key, the value of a key before its attributes.
template <class TChar>
bool _isBefore(const FloorEntry<TChar>& iLeft, const FloorEntry<TChar>& iRight)
{
    const int order = iLeft.key.compare(iRight.key);
    return order < 0 || (order == 0 && iLeft.attribute < iRight.attribute);
}

/// The same for keys whose first iSame characters are equal. A loop, because the rest is too short
/// for a library call to pay.
template <class TChar>
bool _isRestBefore(const FloorEntry<TChar>& iLeft, const FloorEntry<TChar>& iRight,
                   std::size_t iSame)
{
    const std::size_t both = std::min(iLeft.key.size(), iRight.key.size());
    for (std::size_t i = iSame; i < both; ++i)
    {
        const auto left = static_cast<unsigned int>(iLeft.key.data()[i]);
        const auto right = static_cast<unsigned int>(iRight.key.data()[i]);
        if (left != right)
        {
            return left < right;
        }
    }
    return iLeft.key.size() != iRight.key.size() ? iLeft.key.size() < iRight.key.size()
                                                 : iLeft.attribute < iRight.attribute;
}

/// Collects entries, sorts them unless they are in order already, and keeps the last of equal ones.
template <class TChar>
class Collector
{
public:
    void add(const FloorEntry<TChar>& iEntry)
    {
        fSorted = fSorted && (entries.empty() || _isBefore(entries.back(), iEntry));
        entries.push_back(iEntry);
    }

    void sort()
    {
        if (fSorted)
        {
            return;
        }
        const std::size_t same = commonPrefix();
        std::stable_sort(entries.begin(), entries.end(),
                         [same](const FloorEntry<TChar>& iLeft, const FloorEntry<TChar>& iRight)
                         { return _isRestBefore(iLeft, iRight, same); });
        std::size_t kept = 0;
        for (std::size_t i = 1; i < entries.size(); ++i)
        {
            kept += _isBefore(entries[kept], entries[i]);
            entries[kept] = entries[i];
        }
        entries.resize(kept + 1);
    }

    std::vector<FloorEntry<TChar>> entries;

private:
    /// The length of the common prefix of all keys.
    std::size_t commonPrefix() const
    {
        std::basic_string_view<TChar> same = entries.front().key;
        for (const FloorEntry<TChar>& entry : entries)
        {
            const auto end =
                std::mismatch(same.begin(), same.end(), entry.key.begin(), entry.key.end());
            same = {same.begin(), end.first};
        }
        return same.size();
    }

    bool fSorted = true;
};

/// Decodes a character of more than one byte; a byte that starts none is returned as it is.
wchar_t _decodeWide(std::string_view iText, std::size_t& ioPos)
{
    const auto lead = static_cast<unsigned char>(iText[ioPos]);
    const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : 0;
    std::uint32_t character = lead & (0x3Fu >> more);
    bool valid = more > 0 && lead <= 0xF4 && ioPos + more < iText.size();
    for (std::size_t i = 1; valid && i <= more; ++i)
    {
        const auto byte = static_cast<unsigned char>(iText[ioPos + i]);
        valid = (byte & 0xC0u) == 0x80;
        character = character << 6 | (byte & 0x3Fu);
    }
    constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    valid = valid && character >= kLeast[more] && character <= 0x10FFFF &&
            (character & ~0x7FFu) != 0xD800;
    ioPos += valid ? more + 1 : 1;
    return static_cast<wchar_t>(valid ? character : 0xDC00u + lead);
}

/// Widens ASCII, four characters at a time, up to the first four with another character. Returns
/// the number of characters.
std::size_t _widen(std::string_view iText, wchar_t* oText)
{
    std::size_t done = 0;
    for (; done + 4 <= iText.size(); done += 4)
    {
        std::uint32_t four = 0;
        std::memcpy(&four, iText.data() + done, sizeof four);
        if (four & 0x80808080u)
        {
            break;
        }
        oText[done] = static_cast<wchar_t>(four & 0xFFu);
        oText[done + 1] = static_cast<wchar_t>(four >> 8 & 0xFFu);
        oText[done + 2] = static_cast<wchar_t>(four >> 16 & 0xFFu);
        oText[done + 3] = static_cast<wchar_t>(four >> 24);
    }
    for (; done < iText.size() && iText.data()[done] >= 0; ++done)
    {
        oText[done] = static_cast<wchar_t>(iText.data()[done]);
    }
    return done;
}

/// Decodes a text to ioEnd and moves ioEnd behind it.
std::wstring_view _decode(std::string_view iText, wchar_t*& ioEnd)
{
    const wchar_t* const begin = ioEnd;
    for (std::size_t pos = 0; pos < iText.size();)
    {
        const std::size_t plain = _widen(iText.substr(pos), ioEnd);
        pos += plain;
        ioEnd += plain;
        if (pos < iText.size())
        {
            *ioEnd++ = _decodeWide(iText, pos);
        }
    }
    return {begin, static_cast<std::size_t>(ioEnd - begin)};
}

char* _put(std::string_view iText, char* oBytes)
{
    std::memcpy(oBytes, iText.data(), iText.size());
    return oBytes + iText.size();
}

char* _putLine(const FloorEntry<char>& iEntry, char* oBytes)
{
    oBytes = _put(iEntry.key, oBytes);
    if (!iEntry.attribute.empty())
    {
        *oBytes++ = ':';
        oBytes = _put(iEntry.attribute, oBytes);
    }
    oBytes = _put(" = ", oBytes);
    oBytes = _put(iEntry.value, oBytes);
    *oBytes++ = '\n';
    return oBytes;
}

bool _replace(const std::string& iPath, std::string_view iBytes)
{
    if (::unlink(iPath.c_str()) != 0)
    {
        return false;
    }
    const Handle file(::open(iPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    while (!iBytes.empty())
    {
        const ssize_t count = ::write(file.get(), iBytes.data(), iBytes.size());
        if (count <= 0)
        {
            return false;
        }
        iBytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool _write(const std::string& iPath, const std::vector<FloorEntry<char>>& iEntries)
{
    constexpr std::size_t kMarks = 5; // separators of a line
    std::size_t size = 0;
    for (const FloorEntry<char>& entry : iEntries)
    {
        size += entry.key.size() + entry.attribute.size() + entry.value.size() + kMarks;
    }
    const std::unique_ptr<char[]> bytes(new char[size]);
    char* end = bytes.get();
    for (const FloorEntry<char>& entry : iEntries)
    {
        end = _putLine(entry, end);
    }
    return _replace(iPath, {bytes.get(), static_cast<std::size_t>(end - bytes.get())});
}
} // namespace

bool FloorConfig::load(const std::string& iPath)
{
    Bytes bytes;
    if (!_read(iPath, bytes))
    {
        return false;
    }
    fText.reset(new wchar_t[bytes.size]);
    wchar_t* end = fText.get();
    Collector<wchar_t> collected;
    const bool right =
        _parse({bytes.block.get(), bytes.size},
               [&](const FloorEntry<char>& iEntry)
               {
                   collected.add({_decode(iEntry.key, end), _decode(iEntry.attribute, end),
                                  _decode(iEntry.value, end)});
               });
    collected.sort();
    fEntries = std::move(collected.entries);
    return right;
}

const std::wstring_view* FloorConfig::find(std::wstring_view iKey) const
{
    const auto found = std::lower_bound(fEntries.begin(), fEntries.end(),
                                        FloorEntry<wchar_t>{iKey, {}, {}}, &_isBefore<wchar_t>);
    const bool is = found != fEntries.end() && found->key == iKey && found->attribute.empty();
    return is ? &found->value : nullptr;
}

bool floorStore(const std::string& iPath, std::string_view iKey, std::string_view iValue)
{
    Bytes bytes;
    if (!_read(iPath, bytes))
    {
        return false;
    }
    Collector<char> collected;
    if (!_parse({bytes.block.get(), bytes.size},
                [&](const FloorEntry<char>& iEntry) { collected.add(iEntry); }))
    {
        return false;
    }
    collected.sort();
    const FloorEntry<char> wanted{iKey, {}, iValue};
    auto& entries = collected.entries;
    const auto place = std::lower_bound(entries.begin(), entries.end(), wanted, &_isBefore<char>);
    if (place != entries.end() && !_isBefore(wanted, *place))
    {
        *place = wanted;
    }
    else
    {
        entries.insert(place, wanted);
    }
    return _write(iPath, entries);
}
