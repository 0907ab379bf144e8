// SPDX-License-Identifier: MIT
// Reference counts: the last holder destroys the object once, after all that the others did.

#include "Scenario.h"

#include "IBase.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "helpers/PCounted.h"
#include "portinglayer/PCounterSync.h"

#include <thread>

using schedules::requireEqual;

namespace
{
int sDestroyed;

/// Each thread sets its own mark while it holds the object. The count has to order the marks before
/// the destructor.
class Marks
{
public:
    ~Marks()
    {
        requireEqual(1, first, "the first thread's mark");
        requireEqual(1, second, "the second thread's mark");
        ++sDestroyed;
    }

    int first = 0;
    int second = 0;
};

class CountedMarks final : public PCounted<IBase>
{
public:
    Marks marks;
};

/// Runs iWork on another thread, then iOwn on this one, and checks that the object is destroyed.
template <class TWork, class TOwn>
void _runBoth(const TWork& iWork, const TOwn& iOwn)
{
    std::thread other(iWork);
    iOwn();
    other.join();
    requireEqual(1, sDestroyed, "destroyed objects");
}

/// Two threads mark one object and release it. iBefore gets the first thread's holder before.
template <class TBefore>
void _releaseBesideAnother(const TBefore& iBefore)
{
    PPtr<Marks> first(new Marks);
    PPtr<Marks> second(first);
    _runBoth(
        [&]
        {
            second->second = 1;
            second.clear();
        },
        [&]
        {
            first->first = 1;
            iBefore(first);
            first.clear();
        });
}
} // namespace

SCENARIO(LastHoldersOfAPPtr, .jumps = false, .small = true)
{
    _releaseBesideAnother([](const PPtr<Marks>&) {});
}

SCENARIO(HolderThatFindsItselfAlone, .jumps = false, .small = true)
{
    _releaseBesideAnother(
        [](const PPtr<Marks>& iHolder)
        {
            if (iHolder.holders() == 1)
            {
                requireEqual(1, iHolder->second, "the released holder's mark");
            }
        });
}

SCENARIO(CopiesOfAPPtrBesideItsRelease, .jumps = false, .small = true)
{
    PPtr<Marks> first(new Marks);
    PPtr<Marks> second(first);
    _runBoth(
        [&]
        {
            const PPtr<Marks> moved(static_cast<PPtr<Marks>&&>(second));
            PPtr<Marks> copy(moved);
            copy->second = 1;
        },
        [&]
        {
            first->first = 1;
            PPtr<Marks> other;
            other = first;
            first.clear();
        });
}

SCENARIO(LastHoldersOfAPBaseptr, .jumps = false, .small = true)
{
    PBaseptr<CountedMarks> first(new CountedMarks);
    PBaseptr<CountedMarks> second(first);
    _runBoth(
        [&]
        {
            second->marks.second = 1;
            second.clear();
        },
        [&]
        {
            first->marks.first = 1;
            first.clear();
        });
}

SCENARIO(LastHolderGroupsOfAnObject, .jumps = false, .small = true)
{
    PBaseptr<CountedMarks> first(new CountedMarks);
    PBaseptr<CountedMarks> second(first.get());
    _runBoth(
        [&]
        {
            const PBaseptr<CountedMarks> third(second.get());
            second.clear();
            third->marks.second = 1;
        },
        [&]
        {
            first->marks.first = 1;
            first = nullptr;
        });
}

SCENARIO(CountFromTwoThreads, .jumps = false, .small = true)
{
    static PCounterSync count(2);
    static int first;
    static int second;
    static int zeros;
    const auto drop = []
    {
        if (count.change(-1) == 0)
        {
            ++zeros;
            requireEqual(1, first, "the first thread's value");
            requireEqual(1, second, "the second thread's value");
        }
    };
    std::thread other(
        [&]
        {
            ++count;
            second = 1;
            drop();
            drop();
        });
    first = 1;
    drop();
    other.join();
    requireEqual(1, zeros, "threads that reached 0");
}
