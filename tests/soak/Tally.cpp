// SPDX-License-Identifier: MIT
#include "soak/Tally.h"

#include <iomanip>
#include <sstream>
#include <utility>

namespace
{
constexpr std::size_t kMessages = 20;
} // namespace

void Tally::count(std::string_view iKind, bool iGood, const std::string& iWhat)
{
    Row& row = fRows[iKind];
    ++row.operations;
    if (!iGood)
    {
        ++row.errors;
        note(std::string(iKind) + ": " + iWhat);
    }
}

void Tally::expect(std::string_view iKind, int iExpected, int iResult)
{
    if (iExpected == iResult)
    {
        count(iKind, true);
        return;
    }
    count(iKind, false,
          "result " + std::to_string(iResult) + " instead of " + std::to_string(iExpected));
}

void Tally::add(const Tally& iOther)
{
    for (const auto& [kind, row] : iOther.fRows)
    {
        fRows[kind].operations += row.operations;
        fRows[kind].errors += row.errors;
    }
    for (const std::string& message : iOther.fMessages)
    {
        note(message);
    }
}

void Tally::note(std::string iMessage)
{
    if (fMessages.size() < kMessages)
    {
        fMessages.push_back(std::move(iMessage));
    }
}

unsigned long long Tally::operations() const
{
    unsigned long long sum = 0;
    for (const auto& entry : fRows)
    {
        sum += entry.second.operations;
    }
    return sum;
}

unsigned long long Tally::errors() const
{
    unsigned long long sum = 0;
    for (const auto& entry : fRows)
    {
        sum += entry.second.errors;
    }
    return sum;
}

std::string Tally::table() const
{
    std::ostringstream out;
    const auto line = [&out](std::string_view iKind, auto iOperations, auto iErrors)
    {
        out << std::left << std::setw(32) << iKind << std::right << std::setw(14) << iOperations
            << std::setw(10) << iErrors << '\n';
    };
    line("operation", "count", "errors");
    for (const auto& [kind, row] : fRows)
    {
        line(kind, row.operations, row.errors);
    }
    line("total", operations(), errors());
    for (const std::string& message : fMessages)
    {
        out << "error: " << message << '\n';
    }
    return out.str();
}
