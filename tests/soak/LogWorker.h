// SPDX-License-Identifier: MIT
// LogWorker: opens, writes and closes logs that rotate often.
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

    /// The size limit of a log file, which the host sets.
    static constexpr unsigned int kMaxSize = 32768;

    /// Whether every line of every log is complete, and no file is larger than its limit.
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
