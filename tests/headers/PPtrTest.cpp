// SPDX-License-Identifier: MIT
#include "PPtr.h"
#include "portinglayer/PString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace
{
/// The events of the objects of a test, in order.
std::vector<std::string> sEvents;

using Events = std::vector<std::string>;

/// Records its destruction and the release of the memory of its arrays.
struct Watched
{
    virtual ~Watched()
    {
        sEvents.push_back("destroyed " + std::to_string(id));
    }

    static void* operator new[](std::size_t iSize)
    {
        return std::malloc(iSize);
    }

    static void operator delete[](void* iMemory)
    {
        sEvents.push_back("array freed");
        std::free(iMemory);
    }

    int id = 0;
};

/// An abstract interface without a destructor, as those of the system.
struct Bare
{
    virtual void work() = 0;
};

struct BareObject : Bare
{
    ~BareObject()
    {
        sEvents.push_back("destroyed");
    }

    void work() override
    {
    }
};

/// A holder that exposes its fields and records the calls of its hooks.
class OpenHolder : public PPtr<Watched>
{
public:
    using PPtr<Watched>::PPtr;
    using PPtr<Watched>::operator=;

    // NOLINTNEXTLINE(bugprone-copy-constructor-init): a copied base would join before the body
    OpenHolder(const OpenHolder& iOther) : PPtr<Watched>()
    {
        join(iOther);
    }

    OpenHolder& operator=(const OpenHolder&) = default;

    int type() const
    {
        return fType;
    }

    /// Removes the holder count and keeps the pointer.
    void loseCounter()
    {
        delete fCounter;
        fCounter = nullptr;
    }

    void forget()
    {
        fPtr = nullptr;
    }

protected:
    void newCounter() override
    {
        sEvents.push_back("new group of " + std::to_string(holders()));
    }
};

Watched* watched(int iId)
{
    Watched* const object = new Watched;
    object->id = iId;
    return object;
}

Watched* watchedArray(int iCount)
{
    Watched* const objects = new Watched[static_cast<std::size_t>(iCount)];
    for (int i = 0; i < iCount; ++i)
    {
        objects[i].id = i + 1;
    }
    return objects;
}

class PPtrTest : public testing::Test
{
protected:
    PPtrTest()
    {
        sEvents.clear();
    }
};
} // namespace

TEST_F(PPtrTest, DefaultHolderIsEmpty)
{
    const PPtr<int> holder;

    EXPECT_EQ(nullptr, holder.get());
    EXPECT_EQ(0u, holder.holders());
    EXPECT_FALSE(holder);
}

TEST_F(PPtrTest, LastHolderFreesTheObject)
{
    {
        const PPtr<Watched> first(watched(1));
        {
            const PPtr<Watched> second(first);
            EXPECT_EQ(2u, second.holders());
        }
        EXPECT_EQ(Events{}, sEvents);
        EXPECT_EQ(1u, first.holders());
    }

    EXPECT_EQ(Events{"destroyed 1"}, sEvents);
}

TEST_F(PPtrTest, ArrayIsDestroyedFromTheLastElementAndThenFreed)
{
    {
        const PPtr<Watched> holder(watchedArray(3), ePtrArray);
    }

    EXPECT_EQ((Events{"destroyed 3", "destroyed 2", "destroyed 1", "array freed"}), sEvents);
}

TEST_F(PPtrTest, ArrayOfTextsIsHeld)
{
    PString* const texts = new PString[3];
    texts[2] = L"com.kelvora.ixla.third";
    const PPtr<PString> holder(texts, ePtrArray);
    const PPtr<PString> copy(holder);

    EXPECT_EQ(PLiteral(L"com.kelvora.ixla.third"), copy.get()[2]);
}

TEST_F(PPtrTest, CopyKeepsTheDeleteType)
{
    {
        OpenHolder first(watchedArray(1), ePtrArray);
        const OpenHolder copy(first);
        first.clear();
        EXPECT_EQ(1, copy.type());
    }

    EXPECT_EQ(1, std::count(sEvents.begin(), sEvents.end(), "array freed"));
}

TEST_F(PPtrTest, OtherTypesFreeNothing)
{
    Watched object;
    {
        const PPtr<Watched> holder(&object, 2);
        const PPtr<Watched> copy(holder);
    }

    EXPECT_EQ(Events{}, sEvents);
}

TEST_F(PPtrTest, ClearResetsTheTypeOfAnArray)
{
    OpenHolder holder(watchedArray(1), ePtrArray);
    EXPECT_EQ(1, holder.type());
    holder.clear();

    EXPECT_EQ(0, holder.type());
    EXPECT_EQ(nullptr, holder.get());
    EXPECT_EQ(0u, holder.holders());
}

TEST_F(PPtrTest, NullKeepsTheGivenType)
{
    const OpenHolder holder(nullptr, ePtrArray);

    EXPECT_EQ(1, holder.type());
    EXPECT_EQ(0u, holder.holders());
}

TEST_F(PPtrTest, AssignmentLeavesOneGroupAndJoinsTheOther)
{
    PPtr<Watched> first(watched(1));
    const PPtr<Watched> second(watched(2));
    first = second;

    EXPECT_EQ(Events{"destroyed 1"}, sEvents);
    EXPECT_EQ(2u, second.holders());
    EXPECT_EQ(2, first->id);
}

TEST_F(PPtrTest, SelfAssignmentDoesNothing)
{
    PPtr<Watched> holder(watched(1));
    const PPtr<Watched>& same = holder;
    holder = same;

    EXPECT_EQ(Events{}, sEvents);
    EXPECT_EQ(1u, holder.holders());
}

TEST_F(PPtrTest, AssignmentWithinAGroupKeepsTheObject)
{
    PPtr<Watched> first(watched(1));
    const PPtr<Watched> second(first);
    first = second;

    EXPECT_EQ(Events{}, sEvents);
    EXPECT_EQ(2u, first.holders());
}

TEST_F(PPtrTest, AssignmentFromWhatTheOldObjectOwnsIsSafe)
{
    struct Node
    {
        PPtr<Node> next;
        int value = 0;
    };
    PPtr<Node> list(new Node);
    list->next = new Node;
    list->next->value = 2;
    list = list->next;

    EXPECT_EQ(2, list->value);
    EXPECT_EQ(1u, list.holders());
}

TEST_F(PPtrTest, AssignedPointerKeepsTheDeleteType)
{
    OpenHolder holder(watchedArray(1), ePtrArray);
    holder = watchedArray(2);
    EXPECT_EQ(1, holder.type());
    sEvents.clear();
    holder.clear();

    EXPECT_EQ((Events{"destroyed 2", "destroyed 1", "array freed"}), sEvents);
}

TEST_F(PPtrTest, AssigningThePointerAlreadyHeldDoesNothing)
{
    PPtr<Watched> holder(watched(1));
    const PPtr<Watched> copy(holder);
    holder = holder.get();

    EXPECT_EQ(Events{}, sEvents);
    EXPECT_EQ(2u, holder.holders());
}

TEST_F(PPtrTest, AssignedNullEmptiesTheHolder)
{
    PPtr<Watched> holder(watched(1));
    holder = nullptr;

    EXPECT_EQ(Events{"destroyed 1"}, sEvents);
    EXPECT_EQ(0u, holder.holders());
}

TEST_F(PPtrTest, NewGroupRunsItsHookBeforeTheFirstHolderCounts)
{
    OpenHolder holder;
    holder = watched(1);

    EXPECT_EQ(Events{"new group of 0"}, sEvents);
    EXPECT_EQ(1u, holder.holders());
}

TEST_F(PPtrTest, CopiesRunNoHook)
{
    OpenHolder holder;
    holder = watched(1);
    sEvents.clear();
    const OpenHolder copy(holder);
    OpenHolder assigned;
    assigned = holder;

    EXPECT_EQ(Events{}, sEvents);
    EXPECT_EQ(3u, holder.holders());
}

TEST_F(PPtrTest, CopyThatFindsNoCountStartsAGroup)
{
    OpenHolder holder;
    holder = watched(1);
    holder.loseCounter();
    sEvents.clear();
    {
        OpenHolder assigned;
        assigned = holder;
        EXPECT_EQ(1u, assigned.holders());
        EXPECT_EQ(1u, sEvents.size());
        holder.forget();
    }

    EXPECT_EQ("destroyed 1", sEvents.back());
}

TEST_F(PPtrTest, MoveTakesTheShareAndEmptiesTheSource)
{
    PPtr<Watched> source(watched(1));
    const PPtr<Watched> target(std::move(source));

    EXPECT_EQ(1u, target.holders());
    // NOLINTNEXTLINE(bugprone-use-after-move): a moved-from pointer is null
    EXPECT_EQ(0u, source.holders());
    EXPECT_EQ(nullptr, source.get());
    EXPECT_EQ(Events{}, sEvents);
}

TEST_F(PPtrTest, InterfaceWithoutDestructorIsFreedWithoutDestruction)
{
    {
        const PPtr<Bare> holder(new BareObject);
    }

    EXPECT_EQ(Events{}, sEvents);
}

TEST_F(PPtrTest, OtherTypesFreeNoMemoryOfAnInterfaceWithoutDestructor)
{
    BareObject object;
    {
        const PPtr<Bare> holder(&object, 2);
        const PPtr<Bare> copy(holder);
    }

    EXPECT_EQ(Events{}, sEvents);
}

TEST_F(PPtrTest, AdoptStartsAGroup)
{
    const PPtr<Watched> holder = PPtr<Watched>::adopt(watchedArray(2), ePtrArray);

    EXPECT_EQ(1u, holder.holders());
    EXPECT_EQ(2, holder.get()[1].id);
}
