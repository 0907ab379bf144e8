// SPDX-License-Identifier: MIT
// Tally: counts the operations and errors of the soak.
#ifndef IXLAL_TESTS_TALLY_H
#define IXLAL_TESTS_TALLY_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// Counts operations and errors by kind. Not thread-safe: every worker has its own, so that
/// counting does not synchronise the threads. They are added when the workers are idle.
class Tally
{
public:
    /// Counts one operation of a kind, which is a literal; iWhat describes it if it failed.
    void count(std::string_view iKind, bool iGood, const std::string& iWhat = "");

    /// As count, for an operation that must return iExpected.
    void expect(std::string_view iKind, int iExpected, int iResult);

    /// Adds the counts and messages of iOther.
    void add(const Tally& iOther);

    unsigned long long operations() const;
    unsigned long long errors() const;

    /// One line for each kind, then the first messages.
    std::string table() const;

private:
    struct Row
    {
        unsigned long long operations = 0;
        unsigned long long errors = 0;
    };

    void note(std::string iMessage);

    std::map<std::string_view, Row> fRows;
    std::vector<std::string> fMessages;
};

#endif
