// SPDX-License-Identifier: MIT
// ReadWorker: loads configurations by ID, file and arguments and reads them.
#ifndef IXLAL_TESTS_READWORKER_H
#define IXLAL_TESTS_READWORKER_H

#include "soak/Worker.h"

/// Reads what SetWorker changes meanwhile, and what nobody can change.
class ReadWorker final : public Worker
{
public:
    using Worker::Worker;

    /// The configuration ID and the key whose run-time value others set and remove.
    static constexpr wchar_t kId[] = L"soak.shared";
    static constexpr wchar_t kFreeKey[] = L"free";

    /// What the key holds in the file, and what its run-time values begin with.
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
