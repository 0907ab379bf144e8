// SPDX-License-Identifier: MIT
// PHostOptions: the parsed command line of ixla-host.
#ifndef IXLAL_TOOLS_PHOSTOPTIONS_H
#define IXLAL_TOOLS_PHOSTOPTIONS_H

#include "portinglayer/PString.h"

#include <string>
#include <vector>

namespace CLI
{
class App;
}

class PHostOptions
{
public:
    enum
    {
        eNoLimit = -1
    };

    /// Reads the command line. Returns false when the command line asks for help or is wrong; the
    /// text is printed then, and oExitCode is set.
    bool parse(int iCount, const char* const* iArguments, int& oExitCode);

    /// Finds the value of the core argument iKey; the last one counts, as in the core. Returns
    /// false when it is not among the arguments.
    bool find(const wchar_t* iKey, PString& oValue) const;

    /// The path that the core argument iKey names; empty when it is not among the arguments.
    std::string pathOf(const wchar_t* iKey) const;

    std::vector<PString> fCoreArguments; ///< of the form key=value
    std::vector<std::string> fRequired;  ///< interface IDs
    std::string fReadyFile;              ///< empty for none
    int fSeconds = eNoLimit;             ///< from ready to stop
    bool fStrict = false;                ///< whether a degraded start is a failed one
    bool fWatch = false;                 ///< whether the core is restarted when its files change
    unsigned int fStoreCopies = 0;       ///< of the store to keep; 0 for none

private:
    void read(CLI::App& ioApp, int iCount, const char* const* iArguments);
    void collect(const std::string& iPropertyFile, const std::vector<std::string>& iArguments);
};

#endif
