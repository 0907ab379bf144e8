// SPDX-License-Identifier: MIT
// Interleaving: a failed schedule in words.
#ifndef IXLAL_SCHEDULES_INTERLEAVING_H
#define IXLAL_SCHEDULES_INTERLEAVING_H

#include "Report.h"
#include "Symbols.h"

#include <string>

namespace schedules
{
/// The runs of each thread between two switches, with function, line and object of their steps,
/// then the calls of every thread at the end.
class Interleaving
{
public:
    explicit Interleaving(const Report& iReport);

    std::string text() const;

private:
    void resolve();
    std::string step(const Event& iEvent) const;
    std::string run(std::uint32_t iBegin, std::uint32_t iEnd) const;
    std::string stacks() const;
    std::string objects() const;

    const Report& fReport;
    Symbols fSymbols;
};
} // namespace schedules

#endif
