// SPDX-License-Identifier: MIT
// UTF-8: all bytes that are read are written back, and every text that is written is read back.
#include "fuzz/Check.h"
#include "fuzz/LineModel.h"
#include "fuzz/MemoryDir.h"
#include "fuzz/Texts.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PUtf8.h"

#include <algorithm>

namespace
{
constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr std::string_view kWrittenMark = "\xFE\x80\x80\x80\x8F\xBB\xBF";
constexpr std::string_view kBreaks("\0\n\r", 3);

std::wstring _decode(std::string_view iBytes, bool iFileStart)
{
    std::wstring text(iBytes.size(), L'\0');
    text.resize(PUtf8::decodeLine(iBytes.data(), iBytes.size(), text.data(), iFileStart));
    return text;
}

std::string _encode(const std::wstring& iText, bool iFileStart)
{
    std::string bytes(iText.size() * PUtf8::eMaxBytes, '\0');
    bytes.resize(PUtf8::encodeLine(iText.data(), iText.size(), bytes.data(), iFileStart));
    return bytes;
}

bool _isCharacter(std::uint32_t iCode)
{
    return iCode <= 0x10FFFF && (iCode < 0xD800 || iCode > 0xDFFF);
}

std::string _plainUtf8(std::uint32_t iCode)
{
    const auto tail = [iCode](int iShift)
    {
        return static_cast<char>(0x80 | ((iCode >> iShift) & 0x3F));
    };
    const auto lead = [iCode](int iShift, int iMark)
    {
        return static_cast<char>(iMark | static_cast<int>(iCode >> iShift));
    };
    if (iCode < 0x80)
    {
        return {lead(0, 0)};
    }
    if (iCode < 0x800)
    {
        return {lead(6, 0xC0), tail(0)};
    }
    if (iCode < 0x10000)
    {
        return {lead(12, 0xE0), tail(6), tail(0)};
    }
    return {lead(18, 0xF0), tail(12), tail(6), tail(0)};
}

/// A file of these bytes after its lines have been written again: the same bytes, except for those
/// that lines cannot contain.
std::string _rewritten(std::string_view iBytes)
{
    if (iBytes.starts_with(kMark))
    {
        iBytes.remove_prefix(kMark.size());
    }
    const bool marked = iBytes.starts_with(kMark);
    std::string result(marked ? kWrittenMark : "");
    iBytes.remove_prefix(marked ? kMark.size() : 0);
    for (std::size_t i = 0; i < iBytes.size(); ++i)
    {
        const char byte = iBytes[i];
        if (byte == '\r' && iBytes.substr(i + 1, 1) == "\n")
        {
            continue;
        }
        if (byte == '\0' || byte == '\r')
        {
            result += '\xC0';
            result += static_cast<char>(0x80 | byte);
            continue;
        }
        result += byte;
    }
    const bool open = !result.empty() && result.back() != '\n';
    return open ? result + '\n' : result;
}

void _checkLine(std::string_view iLine, bool iFileStart)
{
    const std::wstring text = _decode(iLine, iFileStart);
    const std::string again = _encode(text, iFileStart);
    const bool plain = iLine.find_first_of(kBreaks) == std::string_view::npos;
    if (plain && !(iFileStart && iLine.starts_with(kMark)))
    {
        checkBytes(again, std::string(iLine), "a line is written as it was read");
    }
    checkText(_decode(again, iFileStart), text, "a line reads as it was written");
}

/// Text with a plain UTF-8 form is written in it and read from it.
void _checkPlainText(const std::wstring& iText)
{
    std::wstring plain;
    std::string bytes;
    for (const wchar_t character : iText)
    {
        const auto code = static_cast<std::uint32_t>(character);
        if (_isCharacter(code) && kBreaks.find(static_cast<char>(code)) == std::string_view::npos)
        {
            plain += character;
            bytes += _plainUtf8(code);
        }
    }
    checkBytes(_encode(plain, false), bytes, "plain text is written as UTF-8");
    checkText(_decode(bytes, false), plain, "UTF-8 is read as its characters");
}

void _checkText(const std::wstring& iText, bool iFileStart)
{
    const std::string bytes = _encode(iText, iFileStart);
    check(bytes.find_first_of(kBreaks) == std::string::npos, "a line holds no break");
    check(!iFileStart || !bytes.starts_with(kMark), "a file doesn't begin with a mark");
    checkText(_decode(bytes, iFileStart), iText, "a text reads as it was written");
}

bool _isPath(const std::wstring& iText)
{
    for (const wchar_t character : iText)
    {
        const auto code = static_cast<std::uint32_t>(character);
        const bool standsForByte = code >= 0xDC80 && code <= 0xDCFF;
        if (code == 0 || !(standsForByte || _isCharacter(code)))
        {
            return false;
        }
    }
    return true;
}

void _checkPath(std::string_view iBytes)
{
    const std::string bytes(iBytes.substr(0, iBytes.find('\0')));
    std::wstring path(bytes.size(), L'\0');
    path.resize(PUtf8::decodePath(bytes.data(), bytes.size(), path.data()));
    std::string again(path.size() * PUtf8::eMaxBytes + 1, 'x');
    again.resize(PUtf8::encodePath(path.data(), path.size(), again.data()));
    checkBytes(again, bytes, "a path is written as it was read");
}

void _checkPathOf(const std::wstring& iText)
{
    std::string bytes(iText.size() * PUtf8::eMaxBytes + 1, 'x');
    const std::size_t size = PUtf8::encodePath(iText.data(), iText.size(), bytes.data());
    check((size != PUtf8::eNoPath) == _isPath(iText), "a path holds what paths can");
    check(size == PUtf8::eNoPath || bytes[size] == '\0', "a path has its end");
}

std::vector<std::wstring> _readLines(const MemoryDir& iDir, const char* iName)
{
    PFile file;
    checkCode(file.popen(iDir.wideFile(iName), PFile::eRead, 0), 0, "a file can be opened");
    std::vector<std::wstring> lines;
    PString line;
    int result = 0;
    while ((result = file.preadLine(line)) == 0)
    {
        lines.emplace_back(textOf(line));
    }
    checkCode(result, -61, "a file ends");
    checkCode(file.pclose(), 0, "a file can be closed");
    return lines;
}

void _writeLines(const MemoryDir& iDir, const char* iName, const std::vector<std::wstring>& iLines)
{
    iDir.remove(iName);
    const std::size_t half = iLines.size() / 2;
    for (std::size_t i = 0; i < iLines.size();)
    {
        // The second half is appended to the closed file.
        const std::size_t end = i < half ? half : iLines.size();
        PFile file;
        checkCode(file.popen(iDir.wideFile(iName), PFile::eWrite | PFile::eCreate, 0), 0,
                  "a file can be created or appended to");
        for (; i < end; ++i)
        {
            checkCode(file.pwriteLine(owned(iLines[i])), 0, "a line can be written");
        }
        checkCode(file.pclose(), 0, "a written file can be closed");
    }
}

void _checkFile(const MemoryDir& iDir, std::string_view iBytes)
{
    iDir.write("in", iBytes);
    const std::vector<std::wstring> lines = _readLines(iDir, "in");
    check(lines == LineModel::linesOf(iBytes), "the lines of a file");
    iDir.write("out", "");
    _writeLines(iDir, "out", lines);
    if (lines.empty())
    {
        return;
    }
    checkBytes(iDir.read("out"), _rewritten(iBytes), "a file is written as it was read");
    check(_readLines(iDir, "out") == lines, "lines read as they were written");
}

/// Bytes across the end of a file's buffer, after another line or not.
void _checkAcrossBuffer(const MemoryDir& iDir, std::string_view iBytes, bool iOwnLine)
{
    constexpr std::size_t kBuffer = 16384;
    const std::size_t before = kBuffer - std::min(iBytes.size() / 2, kBuffer - 1);
    std::string bytes(before, 'x');
    bytes.back() = iOwnLine ? '\n' : 'x';
    _checkFile(iDir, bytes.append(iBytes));
}

/// Four bytes per character, so that every number occurs.
std::wstring _anyText(std::string_view iBytes)
{
    std::wstring text(iBytes.size() / sizeof(wchar_t), L'\0');
    iBytes.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(wchar_t));
    return text;
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    static const MemoryDir sDir;
    const std::string_view bytes = bytesOf(iData, iSize);
    for (const std::wstring& text : {decoded(bytes), _anyText(bytes)})
    {
        _checkText(text, false);
        _checkText(text, true);
        _checkPlainText(text);
        _checkPathOf(text);
    }
    _checkLine(bytes, false);
    _checkLine(bytes, true);
    _checkPath(bytes);
    _checkFile(sDir, bytes);
    if (iSize % 32 == 3)
    {
        _checkAcrossBuffer(sDir, bytes, iSize % 64 == 3);
    }
    return 0;
}
