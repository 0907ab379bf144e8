// SPDX-License-Identifier: MIT
// LogWorker: opens, writes and closes logs, which rotate all the time.
#ifndef IXLAL_TESTS_LOGWORKER_H
#define IXLAL_TESTS_LOGWORKER_H

#include "soak/Worker.h"

#include <string>
#include <vector>

/// All workers of this kind share the names of the logs.
class LogWorker final : public Worker
{
public:
    using Worker::Worker;

    /// The limit of one log file, which the host sets.
    static constexpr unsigned int kMaxSize = 32768;

    /// Whether every line of every log is whole, and no file larger than its limit.
    void verify(CoreRun& ioCore) override;

protected:
    void step() override;
    void end() override;

private:
    void open();
    void write(ILogger& ioLogger);
    void dump(ILogger& ioLogger);
    void verifyFile(const std::string& iPath);

    std::vector<PBaseptr<ILogger>> fLoggers;
};

#endif
