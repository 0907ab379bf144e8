// SPDX-License-Identifier: MIT
// PProgram: runs another program to its end.
#ifndef IXLAL_TOOLS_PPROGRAM_H
#define IXLAL_TOOLS_PPROGRAM_H

#include <string>
#include <vector>

class PProgram
{
public:
    /// Searches the program in PATH, runs it without input, and waits for its end. Throws
    /// std::system_error if no process can be started.
    explicit PProgram(const std::vector<std::string>& iCommand);

    /// Whether it ended with exit code 0.
    bool done() const;

    /// What it wrote to both streams.
    const std::string& output() const;

    /// Why it is not done: its last line, or how it ended.
    std::string problem() const;

private:
    const std::string fName;
    std::string fOutput;
    int fStatus = 0; ///< as waitpid gives it
};

#endif
