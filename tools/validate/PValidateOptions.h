// SPDX-License-Identifier: MIT
// PValidateOptions: the parsed command line of ixla-validate.
#ifndef IXLAL_TOOLS_PVALIDATEOPTIONS_H
#define IXLAL_TOOLS_PVALIDATEOPTIONS_H

#include "validate/PSubject.h"

#include <string>
#include <vector>

class PValidateOptions
{
public:
    /// Reads the command line. Returns false when the program is done; it then exits with
    /// oExitCode.
    bool parse(int iCount, char** iArguments, int& oExitCode);

    /// The arguments of a process that runs one check of the library and writes its result to a
    /// handle.
    std::vector<std::string> argumentsOf(const std::string& iCheck, int iResults) const;

    /// The same options for one library.
    PValidateOptions of(const PSubject& iSubject) const;

    std::vector<std::string> arguments; ///< libraries, directories and packages
    std::string given;                  ///< the library, as reports name it
    std::string plugin;                 ///< its absolute path
    std::string configDir;              ///< absolute; empty for none
    std::string pluginsDir;             ///< absolute; empty for none
    std::vector<std::string> only;      ///< the checks to run; empty for all
    int limit = 20;                     ///< seconds for each check
    int initLimit = 5;                  ///< seconds for init
    std::size_t jobs = 1;               ///< libraries at the same time
    std::string junit;                  ///< files; empty for none
    std::string sarif;
    std::string baseline;
    std::string writeBaseline;
    std::string check; ///< this process runs only this check; empty for all
    int results = -1;  ///< the handle for its result
    bool valgrind = false;
    bool json = false;
    bool list = false;
};

#endif
