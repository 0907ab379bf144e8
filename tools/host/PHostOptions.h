// SPDX-License-Identifier: MIT
// PHostOptions: what the command line of ixla-host asks for.
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

    /// Reads the command line. Returns false when there is nothing to run, because it asks for help
    /// or is wrong; what there is to say is printed then, and oExitCode set.
    bool parse(int iCount, const char* const* iArguments, int& oExitCode);

    /// The path that the core argument iKey names; empty when it is not among the arguments.
    std::string pathOf(const wchar_t* iKey) const;

    std::vector<PString> fCoreArguments; ///< of the form key=value
    std::vector<std::string> fRequired;  ///< interface IDs
    std::string fReadyFile;              ///< empty for none
    int fSeconds = eNoLimit;             ///< from ready to stop

private:
    void read(CLI::App& ioApp, int iCount, const char* const* iArguments);
    void collect(const std::string& iPropertyFile, const std::vector<std::string>& iArguments);
};

#endif
