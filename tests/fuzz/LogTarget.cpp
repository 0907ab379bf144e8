// SPDX-License-Identifier: MIT
// Logs: formats with unusual arguments. Each line of an input is one call (see Script); the files
// are compared line by line with the expected lines.
#include "fuzz/Check.h"
#include "fuzz/MemoryDir.h"
#include "fuzz/Texts.h"
#include "logger/PLogger.h"
#include "portinglayer/PUtf8.h"
#include "portinglayer/PUtils.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <optional>

#include <unistd.h>

namespace
{
constexpr int kMostParts = 4;
constexpr int kMostWidth = 3000;
constexpr std::size_t kMostCalls = 60;
constexpr std::string_view kTime = "0000-00-00 00:00:00.000";

/// A line of a log without its time and numbers.
struct Line
{
    char kind;
    std::string text;
};

/// "@SIZE PARTS LINES TAG" as the first line of an input.
struct Settings
{
    explicit Settings(std::string_view iLine)
    {
        const auto number = [&iLine]
        {
            return std::atoi(std::string(takeField(iLine, ' ')).c_str());
        };
        size = static_cast<unsigned int>(std::abs(number() % 100000));
        parts = std::abs(number()) % (kMostParts + 1);
        lines = number();
        tag = decoded(iLine);
    }

    unsigned int size;
    int parts;
    int lines;
    std::wstring tag;
};

/// The arguments of a call.
struct Arguments
{
    explicit Arguments(std::string_view iBytes)
        : text(decoded(iBytes)), number(std::strtoull(std::string(iBytes).c_str(), nullptr, 10))
    {
        // Formats read arguments up to the first zero.
        text.resize(std::min(text.size(), text.find(L'\0')));
        narrow = iBytes.substr(0, iBytes.find('\0'));
        character = iBytes.empty() ? 0 : decoded(iBytes)[0];
        width = static_cast<int>(number % kMostWidth);
    }

    /// The output of "%s" for narrow text in the locale of the process, which is "C".
    std::optional<std::wstring> widened() const
    {
        const bool plain = std::all_of(narrow.begin(), narrow.end(),
                                       [](char c) { return static_cast<signed char>(c) >= 0; });
        return plain ? std::optional<std::wstring>(std::wstring(narrow.begin(), narrow.end()))
                     : std::nullopt;
    }

    /// The characters of the narrow text in a log, which are the same in every locale.
    std::wstring read() const
    {
        std::wstring characters(narrow.size(), L'\0');
        characters.resize(PUtf8::decodePath(narrow.data(), narrow.size(), characters.data()));
        return characters;
    }

    std::wstring text;
    std::string narrow;
    wchar_t character;
    unsigned long long number;
    int width;
};

std::wstring _padded(const std::wstring& iText, int iWidth)
{
    const auto width = static_cast<std::size_t>(iWidth);
    return iText.size() < width ? std::wstring(width - iText.size(), L' ') + iText : iText;
}

std::wstring _hex(unsigned long long iNumber)
{
    wchar_t text[24];
    std::swprintf(text, std::size(text), L"%llx", iNumber);
    return text;
}

bool _isBetween(wchar_t iChar, wchar_t iFirst, wchar_t iLast)
{
    return iChar >= iFirst && iChar <= iLast;
}

/// The escape of a character in a line; empty for a character without one.
std::string _escaped(wchar_t iChar)
{
    const auto bits = static_cast<unsigned int>(iChar);
    if (iChar == L'\0' || iChar == L'\n' || iChar == L'\r')
    {
        return iChar == L'\0' ? "\\0" : iChar == L'\n' ? "\\n" : "\\r";
    }
    const bool isByte = _isBetween(iChar, 0xDC80, 0xDCFF);
    const bool isControl =
        (_isBetween(iChar, 0, 0x1F) && iChar != L'\t') || _isBetween(iChar, 0x7F, 0x9F);
    const bool turns = iChar == 0x61C || _isBetween(iChar, 0x200E, 0x200F) ||
                       _isBetween(iChar, 0x2028, 0x202E) || _isBetween(iChar, 0x2066, 0x2069);
    if (!isByte && !isControl && !turns && !_isBetween(iChar, 0xD800, 0xDFFF) && bits <= 0x10FFFF)
    {
        return "";
    }
    char text[16];
    const char* const form = isByte || bits < 0x80 ? "\\x%02x"
                             : bits > 0xFFFF       ? "\\U%08x"
                                                   : "\\u%04x";
    std::snprintf(text, sizeof text, form, isByte ? bits & 0xFF : bits);
    return text;
}

/// The text in a line: with escapes, and with two backslashes where one would start an escape.
std::string _shown(const std::wstring& iText)
{
    std::string shown;
    for (std::size_t i = 0; i < iText.size(); ++i)
    {
        const std::string escaped = _escaped(iText[i]);
        const wchar_t next = i + 1 < iText.size() ? iText[i + 1] : L'.';
        const bool isDoubled =
            iText[i] == L'\\' &&
            (std::wstring(L"nr0xuU\\").find(next) != std::wstring::npos || !_escaped(next).empty());
        shown += escaped.empty() ? encoded(iText.substr(i, 1)) : escaped;
        shown += isDoubled ? "\\" : "";
    }
    return shown;
}

/// Digits count as 0; everything else must be the same.
bool _looksLike(std::string_view iText, std::string_view iPattern)
{
    return std::equal(iText.begin(), iText.end(), iPattern.begin(), iPattern.end(),
                      [](char t, char p) { return (t >= '0' && t <= '9' ? '0' : t) == p; });
}

/// One run: a logger, and the expected content of its files.
///   i e d  LEVEL FORMAT ARGUMENTS  write a line; LEVEL and FORMAT are one character each
///   x      LEVEL WIDTH BYTES       dump bytes
///   l      LEVEL                   set the level
///   o                              close the log and continue with another logger of the same file
class Script
{
public:
    Script(const MemoryDir& iDir, const Settings& iSettings);

    void run(std::string_view iLine);

    /// Closes the log and checks the written lines.
    void finish();

private:
    void open(bool iNew);
    template <class... TArgument>
    void log(const std::optional<std::wstring>& iExpected, const wchar_t* iFormat,
             TArgument... iArguments);
    template <class... TArgument>
    void logNarrow(const std::optional<std::wstring>& iExpected, const std::wstring& iShown,
                   const wchar_t* iFormat, TArgument... iArguments);
    void logAs(char iFormat, const Arguments& iArguments);
    void dump(unsigned int iWidth, std::string_view iBytes);
    std::vector<Line> readFiles() const;
    void checkLimits(const std::string& iBytes) const;
    Line parse(std::string_view iLine) const;

    const MemoryDir& fDir;
    const Settings fSettings;
    std::optional<PLogger> fLogger;
    std::vector<Line> fExpected;
    char fKind = 'd';
    int fCallLevel = 0;
    int fLevel = 0;
};

Script::Script(const MemoryDir& iDir, const Settings& iSettings) : fDir(iDir), fSettings(iSettings)
{
    for (int part = 1; part <= kMostParts; ++part)
    {
        fDir.remove("fuzz.log." + std::to_string(part));
    }
    open(true);
}

void Script::open(bool iNew)
{
    fLogger.emplace();
    const int code = fLogger->init(fDir.wideFile("fuzz.log"), owned(fSettings.tag), iNew,
                                   fSettings.size, fSettings.parts, fSettings.lines, true);
    checkCode(code, 0, "a log can be opened");
    fLevel = 0;
}

/// The result of the system's own formatting, and the code for a text that cannot be formatted.
template <class... TArgument>
void _checkFormatted(const std::optional<std::wstring>& iExpected, const wchar_t* iFormat,
                     TArgument... iArguments)
{
    PString text(L"before");
    const int code = !iFormat ? -22 : iExpected ? 0 : -84;
    checkCode(PUtils::pformatString(text, iFormat, iArguments...), code, "code of formatting");
    checkText(textOf(text), code == 0 ? *iExpected : L"before", "formatted text");
}

template <class... TArgument>
void Script::log(const std::optional<std::wstring>& iExpected, const wchar_t* iFormat,
                 TArgument... iArguments)
{
    logNarrow(iExpected, iExpected ? *iExpected : iFormat ? iFormat : L"", iFormat, iArguments...);
}

/// A line that shows iShown, although the system formats it as iExpected.
template <class... TArgument>
void Script::logNarrow(const std::optional<std::wstring>& iExpected, const std::wstring& iShown,
                       const wchar_t* iFormat, TArgument... iArguments)
{
    _checkFormatted(iExpected, iFormat, iArguments...);
    PLogger* const logger = &*fLogger;
    int code = 0;
    switch (fKind)
    {
    case 'i':
        code = PLogger::info(logger, fCallLevel, iFormat, iArguments...);
        break;
    case 'e':
        code = PLogger::error(logger, fCallLevel, iFormat, iArguments...);
        break;
    default:
        code = PLogger::debug(logger, fCallLevel, iFormat, iArguments...);
    }
    checkCode(code, 0, "code of a line");
    if (fKind == 'e' || fCallLevel <= fLevel)
    {
        const char kind = fKind == 'i' ? 'I' : fKind == 'e' ? 'E' : 'D';
        fExpected.push_back({kind, _shown(iShown)});
    }
}

void Script::logAs(char iFormat, const Arguments& iArguments)
{
    const std::wstring& text = iArguments.text;
    const unsigned long long number = iArguments.number;
    const auto small = static_cast<unsigned int>(number);
    const int width = iArguments.width;
    const auto cut = text.substr(0, static_cast<std::size_t>(width));
    const std::optional<std::wstring> narrow = iArguments.widened();
    switch (iFormat)
    {
    case '0':
        return log(L"", nullptr);
    case 'n':
        return log(L"line\nbreak\r100%", L"line\nbreak\r100%%");
    case 's':
        return logNarrow(narrow, iArguments.read(), L"%s", iArguments.narrow.c_str());
    case 'f':
        return logNarrow(narrow ? std::optional<std::wstring>(L"[" + *narrow + L"] for: " + text)
                                : std::nullopt,
                         L"[" + iArguments.read() + L"] for: " + text, L"[%s] for: %ls",
                         iArguments.narrow.c_str(), text.c_str());
    case 'w':
        return log(_padded(text, width) + L"|" + cut, L"%*ls|%.*ls", width, text.c_str(), width,
                   text.c_str());
    case 'c':
        return log(iArguments.character == static_cast<wchar_t>(WEOF)
                       ? std::nullopt
                       : std::optional<std::wstring>(std::wstring(1, iArguments.character) + L"."),
                   L"%lc.", static_cast<std::wint_t>(iArguments.character));
    case 'u':
        return log(std::to_wstring(number) + L" " + std::to_wstring(small) + L" " + _hex(number),
                   L"%llu %u %llx", number, small, number);
    case 'd':
        return log(std::to_wstring(static_cast<long long>(number)) + L" err: " +
                       std::to_wstring(static_cast<int>(small)),
                   L"%lld err: %d", static_cast<long long>(number), static_cast<int>(small));
    case 'z':
        return log(L"(null) (null) (nil)", L"%ls %s %p", static_cast<const wchar_t*>(nullptr),
                   static_cast<const char*>(nullptr), static_cast<void*>(nullptr));
    case 'a':
        return log(L"arg:[" + text + L"], val:[" + text + L"], err: " +
                       std::to_wstring(static_cast<int>(small)),
                   L"arg:[%ls], val:[%ls], err: %d", text.c_str(), text.c_str(),
                   static_cast<int>(small));
    default:
        return log(text, L"%ls", text.c_str());
    }
}

void Script::dump(unsigned int iWidth, std::string_view iBytes)
{
    const auto size = static_cast<unsigned int>(iBytes.size());
    checkCode(PLogger::dumpHex(&*fLogger, fCallLevel, iBytes.data(), size, iWidth), 0, "dump");
    const std::size_t width = std::min<std::size_t>(iWidth > 0 ? iWidth : 16, iBytes.size());
    for (std::size_t at = 0; at < iBytes.size() && fCallLevel <= fLevel; at += width)
    {
        const std::string_view part = iBytes.substr(at, width);
        char hex[24];
        std::snprintf(hex, sizeof hex, "%08zx ", at);
        std::string line = hex;
        std::string characters;
        for (const char byte : part)
        {
            std::snprintf(hex, sizeof hex, " %02x", static_cast<unsigned char>(byte));
            line += hex;
            characters += byte >= ' ' && byte <= '~' ? byte : '.';
        }
        line.append(3 * (width - part.size()), ' ');
        fExpected.push_back({'D', line.append("  |").append(characters).append("|")});
    }
}

void Script::run(std::string_view iLine)
{
    const auto take = [&iLine]
    {
        const char first = iLine.empty() ? '0' : iLine[0];
        iLine.remove_prefix(iLine.empty() ? 0 : 1);
        return first;
    };
    fKind = take();
    if (fKind == 'o')
    {
        return open(false);
    }
    const char level = take();
    fCallLevel = level == '-' ? -1 : level - '0';
    if (fKind == 'l')
    {
        fLevel = fCallLevel;
        checkCode(fLogger->setLevel(fLevel), 0, "a level can be set");
        return;
    }
    const char detail = take();
    if (fKind == 'x')
    {
        return dump(static_cast<unsigned char>(detail) % 64u, iLine);
    }
    logAs(detail, Arguments(iLine));
}

/// Checks the variable part of a line and removes it.
Line Script::parse(std::string_view iLine) const
{
    check(_looksLike(iLine.substr(0, kTime.size()), kTime), "a line begins with its time");
    iLine.remove_prefix(kTime.size());
    // The only thread of a process has the process's number.
    const std::string process = std::to_string(::getpid());
    const std::string numbers = " " + process + ":" + process + " ";
    check(iLine.starts_with(numbers), "process and thread");
    iLine.remove_prefix(numbers.size());
    check(!iLine.empty(), "kind");
    const char kind = iLine[0];
    iLine.remove_prefix(1);
    const std::string tag = " " + _shown(fSettings.tag) + " ";
    check(iLine.starts_with(tag), "tag");
    return {kind, std::string(iLine.substr(tag.size()))};
}

void Script::checkLimits(const std::string& iBytes) const
{
    const auto lines = std::count(iBytes.begin(), iBytes.end(), '\n');
    check(iBytes.empty() || iBytes.back() == '\n', "a log ends with a line end");
    check(fSettings.size == 0 || iBytes.size() <= fSettings.size || lines == 1, "size of a log");
    check(fSettings.lines <= 0 || lines <= fSettings.lines, "lines of a log");
}

/// The lines of all parts, oldest first.
std::vector<Line> Script::readFiles() const
{
    std::vector<Line> lines;
    for (int part = kMostParts; part >= 0; --part)
    {
        const std::string name = part > 0 ? "fuzz.log." + std::to_string(part) : "fuzz.log";
        check(part <= fSettings.parts || !fDir.exists(name), "number of parts");
        const std::string bytes = fDir.exists(name) ? fDir.read(name) : std::string();
        checkLimits(bytes);
        std::vector<std::string_view> found = split(bytes, '\n');
        found.pop_back();
        for (const std::string_view line : found)
        {
            lines.push_back(parse(line));
        }
    }
    return lines;
}

/// Without limits the files have every line, otherwise the last ones.
void Script::finish()
{
    fLogger.reset();
    const std::vector<Line> found = readFiles();
    const bool limited = fSettings.size > 0 || fSettings.lines > 0;
    check(found.size() <= fExpected.size(), "no more lines than calls");
    check(limited || found.size() == fExpected.size(), "as many lines as calls");
    check(fExpected.empty() || !found.empty(), "the last line is there");
    auto expected = fExpected.end() - static_cast<std::ptrdiff_t>(found.size());
    for (const Line& line : found)
    {
        check(line.kind == expected->kind, "kind of a line");
        checkBytes(line.text, expected->text, "text of a line");
        ++expected;
    }
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    static const MemoryDir sDir;
    std::string_view rest = bytesOf(iData, iSize);
    const bool hasSettings = rest.starts_with('@');
    const std::string_view settings = hasSettings ? takeField(rest, '\n').substr(1) : "0 0 0 fuzz";
    Script script(sDir, Settings(settings));
    std::size_t left = kMostCalls;
    for (const std::string_view line : split(rest, '\n'))
    {
        if (left-- == 0)
        {
            break;
        }
        script.run(line);
    }
    script.finish();
    return 0;
}
