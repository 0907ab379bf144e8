// SPDX-License-Identifier: MIT
// ReadWorker: loads configurations by ID, file and arguments and reads them.
#ifndef IXLAL_TESTS_READWORKER_H
#define IXLAL_TESTS_READWORKER_H

#include "soak/Worker.h"

/// Reads values that SetWorker changes at the same time, and values that cannot change.
class ReadWorker final : public Worker
{
public:
    using Worker::Worker;

    /// The configuration ID and the key whose run-time value SetWorker sets and removes.
    static constexpr wchar_t kId[] = L"soak.shared";
    static constexpr wchar_t kFreeKey[] = L"free";

    /// The value of the key in the file, and the prefix of its run-time values.
    static constexpr wchar_t kFileText[] = L"own";
    static constexpr wchar_t kRunTimeText[] = L"set ";

    void prepare(CoreRun& ioCore) override;

protected:
    void begin() override;
    void step() override;
    void end() override;

private:
    void load();
    void loadArguments();
    void readPinned();
    void readFree();
    void readTyped();
    void listIds();

    std::wstring fFile;
    PBaseptr<IConfig> fConfig;
};

#endif
