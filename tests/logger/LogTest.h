// SPDX-License-Identifier: MIT
// LogTest: a logger with its own file.
#ifndef IXLAL_TESTS_LOGTEST_H
#define IXLAL_TESTS_LOGTEST_H

#include "logger/PLogger.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

struct LogSettings
{
    std::string file = "test.log";
    std::string tag = "tag";
    bool isNew = false;
    unsigned int maxSize = 0;
    int parts = 0;
    int maxCount = 0;
    bool enable = true;
};

class LogTest : public testing::Test
{
protected:
    /// Opens the logger on a file of the temporary directory, or at an absolute path.
    int init(const LogSettings& iSettings = {})
    {
        return init(*logger, iSettings);
    }

    int init(PLogger& ioLogger, const LogSettings& iSettings);

    /// Writes a line of kind I with level 0 and this text.
    int info(const std::string& iText)
    {
        return PLogger::info(logger.get(), 0, L"%ls", wide(iText).ptr());
    }

    /// The complete lines of a file, and their texts without the header.
    std::vector<std::string> lines(const std::string& iFile = "test.log") const;
    std::vector<std::string> texts(const std::string& iFile = "test.log") const;

    bool exists(const std::string& iFile) const;

    /// The handle of an open file; -1 if it is not open.
    int handleOf(const std::string& iFile = "test.log") const;

    /// A text of iLen characters.
    static std::string filler(std::size_t iLen)
    {
        return std::string(iLen, 'x');
    }

    /// The number of bytes that a line of this process adds to its text, including the line end.
    std::size_t overhead() const;

    TempDir dir;
    std::unique_ptr<PLogger> logger = std::make_unique<PLogger>();
};

/// Logs a text with showMsgBox.
int showMessage(PLogger& ioLogger, const wchar_t* iFormat, ...);

/// A text such as [PLogger] Lost lines: 2 err: -28
std::string lossReport(int iLines, int iCode);

/// The part of a line after its tag; the tag must be "tag".
std::string textOf(const std::string& iLine);

/// Whether a line has a complete header, with the tag "tag".
bool isWhole(const std::string& iLine);

#endif
