// SPDX-License-Identifier: MIT
// Contest: the contestants of all cases, and how they are measured.
#ifndef IXLAL_BENCHMARKS_CONTEST_H
#define IXLAL_BENCHMARKS_CONTEST_H

#include <memory>
#include <regex>
#include <string>
#include <vector>

/// A contestant whose turns take their own time.
template <class TWork>
concept TimesItself = requires(TWork& work)
{
    work.timedTurn();
};

/// One contestant, made for one size. The measuring calls it for many turns at once, so that the
/// call itself doesn't count.
class Body
{
public:
    virtual ~Body() = default;

    /// Does iTurns turns from iFirst on. Returns how many of them had a wrong result. May be called
    /// by two threads at once when the case is measured so.
    virtual unsigned int repeat(unsigned int iFirst, unsigned int iTurns) = 0;

    /// One turn that takes its own time with a Stopwatch and returns it in seconds, below 0 for a
    /// wrong result; for cases that have to prepare each turn.
    virtual double timedTurn() = 0;

    /// The bytes that the result of a turn holds; 0 when the case doesn't ask.
    virtual double heldBytes() = 0;
};

/// A contestant is a class with a constructor that takes the size, and one of
///     bool turn(unsigned int iTurn);  // whether the result was right
///     double timedTurn();
/// and, when its case asks for memory, double heldBytes().
template <class TWork>
class WorkBody final : public Body
{
public:
    explicit WorkBody(int iSize) : fWork(iSize)
    {
    }

    unsigned int repeat(unsigned int iFirst, unsigned int iTurns) override
    {
        unsigned int wrong = 0;
        if constexpr (requires { fWork.turn(0u); })
        {
            for (unsigned int turn = iFirst; turn != iFirst + iTurns; ++turn)
            {
                wrong += !fWork.turn(turn);
            }
        }
        return wrong;
    }

    double timedTurn() override
    {
        if constexpr (TimesItself<TWork>)
        {
            return fWork.timedTurn();
        }
        return -1;
    }

    double heldBytes() override
    {
        if constexpr (requires { fWork.heldBytes(); })
        {
            return fWork.heldBytes();
        }
        return 0;
    }

private:
    TWork fWork;
};

/// What all contestants of a case have in common.
struct Case
{
    std::string name;
    std::vector<int> sizes;      ///< what they mean is told by the case
    unsigned int turns;          ///< in one sample
    bool twoThreads = false;     ///< also measured while a second thread does the same
    unsigned int countTurns = 0; ///< turns whose instructions are counted; 0 for none
    unsigned int operations = 1; ///< in one turn that takes its own time
};

class Contest
{
public:
    struct Entry
    {
        Case of;
        std::string contestant; ///< "floor", "ours" or the name of a peer
        bool timesItself;
        std::unique_ptr<Body> (*make)(int iSize);
    };

    template <class TWork>
    void enter(const Case& iCase, const std::string& iContestant)
    {
        fEntries.push_back({iCase, iContestant, TimesItself<TWork>, &_make<TWork>});
    }

    /// Hands all entries to Google Benchmark. Lives until they have run.
    void registerAll();

    /// Does the turns to be counted of the entries whose name matches iPattern, each between two
    /// marks for callgrind, which dumps the instructions under the entry's name. Returns whether
    /// all results were right.
    bool runForCounting(const std::regex& iPattern) const;

private:
    template <class TWork>
    static std::unique_ptr<Body> _make(int iSize)
    {
        return std::make_unique<WorkBody<TWork>>(iSize);
    }

    std::vector<Entry> fEntries;
};

#endif
