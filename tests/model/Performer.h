// SPDX-License-Identifier: MIT
// Performer: executes steps and reports their results.
#ifndef IXLAL_TESTS_PERFORMER_H
#define IXLAL_TESTS_PERFORMER_H

#include "model/Step.h"

#include <string>

/// The initial content of a text that a step reads into.
inline constexpr const char* kUntouched = "untouched";

/// The system and its model are both performers. With the same steps they must report the same.
class Performer
{
public:
    virtual ~Performer() = default;

    /// Results, values read and listeners called, in this order of occurrence.
    std::string perform(const Step& iStep)
    {
        fTrace.clear();
        fDepth = 0;
        act(iStep);
        return fTrace;
    }

protected:
    /// Executes the step. Listeners that are called during it may execute further steps.
    virtual void take(const Step& iStep) = 0;

    void act(const Step& iStep)
    {
        ++fDepth;
        take(iStep);
        --fDepth;
    }

    void tell(const std::string& iText)
    {
        fTrace += iText + ' ';
    }

    void tell(int iResult)
    {
        tell(std::to_string(iResult));
    }

    /// Reports a result and the text that was read, which is unchanged after a failure.
    void tell(int iResult, const std::string& iText)
    {
        tell(std::to_string(iResult) + " '" + iText + "'");
    }

    /// Whether the step is one of the sequence, not the reaction of a listener.
    bool isOutermost() const
    {
        return fDepth == 1;
    }

private:
    std::string fTrace;
    int fDepth = 0;
};

#endif
