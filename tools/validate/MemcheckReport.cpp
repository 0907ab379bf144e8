// SPDX-License-Identifier: MIT
#include "validate/MemcheckReport.h"

#include <cstdlib>

namespace
{
/// The text with the five references of XML replaced.
std::string _plain(const std::string& iText)
{
    std::string text = iText;
    for (const auto& [reference, sign] :
         {std::pair{"&lt;", "<"}, std::pair{"&gt;", ">"}, std::pair{"&quot;", "\""},
          std::pair{"&apos;", "'"}, std::pair{"&amp;", "&"}})
    {
        for (std::size_t at = 0; (at = text.find(reference, at)) != std::string::npos; ++at)
        {
            text.replace(at, std::string(reference).size(), sign);
        }
    }
    return text;
}

/// The content of the next element iName. Moves ioAt behind it, or to npos without one. Memcheck
/// nests no element in one of the same name.
std::string _next(const std::string& iXml, const std::string& iName, std::size_t& ioAt)
{
    const std::string begin = "<" + iName + ">";
    const std::string end = "</" + iName + ">";
    const std::size_t from = iXml.find(begin, ioAt);
    const std::size_t to = from == std::string::npos ? from : iXml.find(end, from);
    if (to == std::string::npos)
    {
        ioAt = to;
        return "";
    }
    ioAt = to + end.size();
    return iXml.substr(from + begin.size(), to - from - begin.size());
}

/// The text of the first element iName; empty without one.
std::string _textOf(const std::string& iXml, const std::string& iName)
{
    std::size_t at = 0;
    return _plain(_next(iXml, iName, at));
}

/// What happened: of a leak without its number, which differs from run to run.
std::string _whatOf(const std::string& iError)
{
    const std::string what = _textOf(iError, "what");
    const std::string text = what.empty() ? _textOf(_textOf(iError, "xwhat"), "text") : what;
    return text.substr(0, text.find(" in loss record"));
}

/// The path of the source file of a frame; empty if it is not known.
std::string _sourceOf(const std::string& iFrame)
{
    const std::string file = _textOf(iFrame, "file");
    const std::string directory = file.empty() ? "" : _textOf(iFrame, "dir");
    return directory.empty() ? file : std::string(directory).append("/").append(file);
}

/// Appends the finding of an error with a frame in the plugin.
void _addFinding(const std::string& iError, const std::string& iPlugin,
                 std::vector<PMemoryFinding>& ioFindings)
{
    std::size_t at = 0;
    const std::string stack = _next(iError, "stack", at);
    for (at = 0; at != std::string::npos;)
    {
        const std::string frame = _next(stack, "frame", at);
        if (at != std::string::npos && _textOf(frame, "obj") == iPlugin)
        {
            const unsigned long line = std::strtoul(_textOf(frame, "line").c_str(), nullptr, 10);
            ioFindings.push_back(PMemoryFinding::at(_whatOf(iError), _textOf(frame, "fn"),
                                                    _sourceOf(frame),
                                                    static_cast<unsigned int>(line)));
            return;
        }
    }
}
} // namespace

std::vector<PMemoryFinding> memcheckFindings(const std::string& iXml, const std::string& iPlugin,
                                             bool iLeaks)
{
    std::vector<PMemoryFinding> findings;
    std::size_t at = 0;
    for (std::string error = _next(iXml, "error", at); at != std::string::npos;
         error = _next(iXml, "error", at))
    {
        if (iLeaks || !_textOf(error, "kind").starts_with("Leak_"))
        {
            _addFinding(error, iPlugin, findings);
        }
    }
    return findings;
}
