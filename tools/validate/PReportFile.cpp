// SPDX-License-Identifier: MIT
#include "validate/PReportFile.h"

#include "validate/PValidateError.h"

#include <cerrno>
#include <system_error>

PReportFile::PReportFile(const std::string& iPath) : fPath(iPath)
{
    errno = 0;
    if (!fPath.empty())
    {
        fFile.open(fPath, std::ios::binary);
    }
    if (!fPath.empty() && !fFile)
    {
        fail();
    }
}

void PReportFile::write(const std::string& iText)
{
    errno = 0;
    fFile << iText;
    fFile.close();
    if (!fFile)
    {
        fail();
    }
}

void PReportFile::fail() const
{
    throw PValidateError(eExitFile,
                         "cannot write " + fPath + ": " + std::generic_category().message(errno));
}
