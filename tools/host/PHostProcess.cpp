// SPDX-License-Identifier: MIT
#include "host/PHostProcess.h"

#include <cerrno>
#include <iostream>

PHostProcess::PHostProcess(const PHostOptions& iOptions, PStandardOutput& ioOutput)
    : fOptions(iOptions),
      fOutput(ioOutput),
      fReadyFile(iOptions.fReadyFile),
      fCopies(iOptions.fWatch ? std::make_unique<PPluginCopies>() : nullptr),
      fSignals([this] { removeCopies(); }),
      fForeignExit(
          [this]
          {
              fReadyFile.withdraw();
              removeCopies();
          })
{
}

const PHostOptions& PHostProcess::options() const
{
    return fOptions;
}

const PStopSignals& PHostProcess::signals() const
{
    return fSignals;
}

PReadyFile& PHostProcess::readyFile()
{
    return fReadyFile;
}

PPluginCopies& PHostProcess::copies()
{
    return *fCopies;
}

// Flushes each line, for readers of a pipe.
EHostExit PHostProcess::say(const std::string& iText)
{
    std::cout << "ixla-host: " << iText << '\n';
    const int error = fOutput.flush();
    return error == 0 || error == EPIPE ? eExitOk : eExitOutputFailed;
}

void PHostProcess::removeCopies() const
{
    if (fCopies)
    {
        fCopies->removeAll();
    }
}
