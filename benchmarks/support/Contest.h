// SPDX-License-Identifier: MIT
// Contest: the contestants of all cases and their measurement.
#ifndef IXLAL_BENCHMARKS_CONTEST_H
#define IXLAL_BENCHMARKS_CONTEST_H

#include <memory>
#include <regex>
#include <string>
#include <vector>

/// A contestant whose turns measure their own time.
template <class TWork>
concept TimesItself = requires(TWork& work)
{
    work.timedTurn();
};

/// One contestant for one size. One call runs many turns, so that the cost of the call is
/// negligible.
class Body
{
public:
    virtual ~Body() = default;

    /// Runs iTurns turns from iFirst on. Returns the number of wrong results. Two threads call it
    /// at once in a case with twoThreads.
    virtual unsigned int repeat(unsigned int iFirst, unsigned int iTurns) = 0;

    /// Runs one turn that measures its own time with a Stopwatch and returns it in seconds;
    /// negative for a wrong result. For cases that must prepare each turn.
    virtual double timedTurn() = 0;

    /// The memory of the result of a turn, in bytes; 0 if the case does not measure it.
    virtual double heldBytes() = 0;
};

/// A contestant is a class with a constructor that takes the size, and one of
///     bool turn(unsigned int iTurn);  // whether the result was right
///     double timedTurn();
/// and, if its case measures memory, double heldBytes().
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

/// The common properties of all contestants of a case.
struct Case
{
    std::string name;
    std::vector<int> sizes;      ///< the case defines their meaning
    unsigned int turns;          ///< in one sample
    bool twoThreads = false;     ///< also measured while a second thread does the same work
    unsigned int countTurns = 0; ///< turns whose instructions are counted; 0 for none
    unsigned int operations = 1; ///< in one turn that measures its own time
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

    /// Registers all entries with Google Benchmark. This object must live until they have run.
    void registerAll();

    /// Runs the counted turns of the entries whose name matches iPattern, each between two marks
    /// for callgrind, which dumps the instructions under the entry's name. Returns whether all
    /// results were right.
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
