// SPDX-License-Identifier: MIT
// Performer: takes steps and tells what came of them.
#ifndef IXLAL_TESTS_PERFORMER_H
#define IXLAL_TESTS_PERFORMER_H

#include "model/Step.h"

#include <string>

/// What stands in a text that nothing has been read into.
inline constexpr const char* kUntouched = "untouched";

/// The system and its model are both performers. Given the same steps they must tell the same.
class Performer
{
public:
    virtual ~Performer() = default;

    /// Results, values read and listeners told, in the order in which they came.
    std::string perform(const Step& iStep)
    {
        fTrace.clear();
        fDepth = 0;
        act(iStep);
        return fTrace;
    }

protected:
    /// Takes the step. Listeners that are told of an event while it lasts may take further ones.
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

    /// Tells a result and the text that was read, which stays as it was after a failure.
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
