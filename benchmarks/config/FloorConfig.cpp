#include "config/FloorConfig.h"

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

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

/// Decodes the character at the front of more than one byte; a byte that begins none stands for
/// itself.
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

std::wstring _decoded(std::string_view iText)
{
    const char* const end = iText.data() + iText.size();
    const char* const other = std::find_if(iText.data(), end, [](char iByte) { return iByte < 0; });
    std::wstring text(iText.data(), other);
    for (auto pos = static_cast<std::size_t>(other - iText.data()); pos < iText.size();)
    {
        if (iText[pos] >= 0)
        {
            text += static_cast<wchar_t>(iText[pos++]);
        }
        else
        {
            text += _decodeWide(iText, pos);
        }
    }
    return text;
}

bool _insert(std::string_view iLine, FloorValues& ioValues)
{
    const std::size_t equals = iLine.find('=');
    if (equals == std::string_view::npos)
    {
        return false;
    }
    const std::string_view name = iLine.substr(0, equals);
    const std::string_view text = _trimmed(iLine.substr(equals + 1));
    const std::size_t colon = name.find(':');
    const std::string_view key = _trimmed(name.substr(0, colon));
    if (key.empty())
    {
        return false;
    }
    FloorRecord& record = ioValues.try_emplace(ioValues.end(), _decoded(key))->second;
    if (colon == std::string_view::npos)
    {
        record.value = _decoded(text);
    }
    else
    {
        record.attributes.try_emplace(_decoded(_trimmed(name.substr(colon + 1))), _decoded(text));
    }
    return true;
}

bool _parse(std::string_view iText, FloorValues& ioValues)
{
    while (!iText.empty())
    {
        const std::size_t end = iText.find('\n');
        const std::string_view line = _trimmed(iText.substr(0, end));
        iText.remove_prefix(end == std::string_view::npos ? iText.size() : end + 1);
        if (!line.empty() && line.front() != '#' && !_insert(line, ioValues))
        {
            return false;
        }
    }
    return true;
}

constexpr std::size_t kMaxBytes = 4; // of a character

/// Writes a text in the file's encoding; returns where it ends.
char* _encode(std::wstring_view iText, char* oBytes)
{
    for (const wchar_t wide : iText)
    {
        const auto character = static_cast<std::uint32_t>(wide);
        if (character < 0x80)
        {
            *oBytes++ = static_cast<char>(character);
            continue;
        }
        const unsigned int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
        constexpr unsigned int kLead[] = {0, 0xC0, 0xE0, 0xF0};
        *oBytes++ = static_cast<char>(kLead[more] | character >> 6 * more);
        for (unsigned int left = more; left-- > 0;)
        {
            *oBytes++ = static_cast<char>(0x80u | (character >> 6 * left & 0x3Fu));
        }
    }
    return oBytes;
}

/// One line; without an attribute iAttribute is empty.
char* _encodeLine(std::wstring_view iKey, std::wstring_view iAttribute, std::wstring_view iText,
                  char* oBytes)
{
    oBytes = _encode(iKey, oBytes);
    if (!iAttribute.empty())
    {
        *oBytes++ = ':';
        oBytes = _encode(iAttribute, oBytes);
    }
    oBytes = std::copy_n(" = ", 3, oBytes);
    oBytes = _encode(iText, oBytes);
    *oBytes++ = '\n';
    return oBytes;
}

std::size_t _mostBytes(const FloorValues& iValues)
{
    constexpr std::size_t kMarks = 5; // of a line
    std::size_t size = 0;
    for (const auto& [key, record] : iValues)
    {
        size += (key.size() + record.value.size()) * kMaxBytes + kMarks;
        for (const auto& [name, text] : record.attributes)
        {
            size += (key.size() + name.size() + text.size()) * kMaxBytes + kMarks;
        }
    }
    return size;
}

char* _encodeAll(const FloorValues& iValues, char* oBytes)
{
    for (const auto& [key, record] : iValues)
    {
        oBytes = _encodeLine(key, {}, record.value, oBytes);
        for (const auto& [name, text] : record.attributes)
        {
            oBytes = _encodeLine(key, name, text, oBytes);
        }
    }
    return oBytes;
}
} // namespace

bool floorLoad(const std::string& iPath, FloorValues& ioValues)
{
    const Handle file(::open(iPath.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0)
    {
        return false;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    const std::unique_ptr<char[]> bytes(new char[size]);
    std::size_t done = 0;
    while (done < size)
    {
        const ssize_t count = ::read(file.get(), bytes.get() + done, size - done);
        if (count <= 0)
        {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return _parse({bytes.get(), size}, ioValues);
}

bool floorSave(const std::string& iPath, const FloorValues& iValues)
{
    const std::unique_ptr<char[]> bytes(new char[_mostBytes(iValues)]);
    const char* const end = _encodeAll(iValues, bytes.get());
    if (::unlink(iPath.c_str()) != 0)
    {
        return false;
    }
    const Handle file(::open(iPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    const char* rest = bytes.get();
    while (rest != end)
    {
        const ssize_t count = ::write(file.get(), rest, static_cast<std::size_t>(end - rest));
        if (count <= 0)
        {
            return false;
        }
        rest += count;
    }
    return true;
}
