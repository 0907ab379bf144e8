// SPDX-License-Identifier: MIT
// PReportFile: a file that the tool writes at its end.
#ifndef IXLAL_TOOLS_PREPORTFILE_H
#define IXLAL_TOOLS_PREPORTFILE_H

#include <fstream>
#include <string>

/// All operations throw PValidateError if the file cannot be written.
class PReportFile
{
public:
    /// Empties the file, so that a wrong path is reported before the checks. Does nothing with an
    /// empty path.
    explicit PReportFile(const std::string& iPath);

    explicit operator bool() const noexcept
    {
        return !fPath.empty();
    }

    /// Writes the whole content.
    void write(const std::string& iText);

private:
    [[noreturn]] void fail() const;

    const std::string fPath;
    std::ofstream fFile;
};

#endif
