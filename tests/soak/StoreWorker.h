// SPDX-License-Identifier: MIT
// StoreWorker: stores and removes values across all restarts of the core.
#ifndef IXLAL_TESTS_STOREWORKER_H
#define IXLAL_TESTS_STOREWORKER_H

#include "soak/Worker.h"

#include <map>
#include <string>

/// Knows the expected stored values of its ID. Compares them with those read after a start and with
/// the file before a stop.
class StoreWorker final : public Worker
{
public:
    using Worker::Worker;

    void prepare(CoreRun& ioCore) override;
    void verify(CoreRun& ioCore) override;

protected:
    void begin() override;
    void step() override;

private:
    struct Value
    {
        std::wstring text;
        std::map<std::wstring, std::wstring> attributes;
    };

    void store(const std::wstring& iKey);
    void storeAttribute(const std::wstring& iKey);
    void removeKey(const std::wstring& iKey);
    void removeAttribute(const std::wstring& iKey);
    std::string expectedLines() const;

    std::wstring fId;
    std::map<std::wstring, Value> fValues;
};

#endif
