// SPDX-License-Identifier: MIT
// Tally: what the soak did and what went wrong.
#ifndef IXLAL_TESTS_TALLY_H
#define IXLAL_TESTS_TALLY_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// Counts operations and errors by kind. Not synchronised: every worker has its own, so that
/// counting orders nothing between the threads, and they are added up when the workers rest.
class Tally
{
public:
    /// Counts one operation of the kind, a literal; iWhat describes it if it went wrong.
    void count(std::string_view iKind, bool iGood, const std::string& iWhat = "");

    /// As count, for an operation that is to return iExpected.
    void expect(std::string_view iKind, int iExpected, int iResult);

    /// Adds iOther's counts and messages to these.
    void add(const Tally& iOther);

    unsigned long long operations() const;
    unsigned long long errors() const;

    /// A line for each kind, then the first messages.
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
