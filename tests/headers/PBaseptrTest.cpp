// SPDX-License-Identifier: MIT
#include "PBaseptr.h"
#include "IBase.h"
#include "portinglayer/PCounterSync.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace
{
/// Records its references; lives as long as its test.
struct Counted : IBase
{
    int incRef() override
    {
        ++taken;
        return ++references;
    }

    int decRef() override
    {
        return references.change(-1);
    }

    int count()
    {
        return references.change(0);
    }

    PCounterSync references{0};
    PCounterSync taken{0};
};

/// Throws when its last reference is dropped, as a destructor may.
struct Throwing : Counted
{
    int decRef() override
    {
        if (Counted::decRef() == 0)
        {
            throw std::runtime_error("not today");
        }
        return count();
    }
};

/// Destroys itself when its count returns to 0, as service objects do.
struct SelfDestroying : IBase
{
    explicit SelfDestroying(int& oDestroyed) : destroyed(oDestroyed)
    {
    }

    virtual ~SelfDestroying()
    {
        ++destroyed;
    }

    int incRef() override
    {
        return ++references;
    }

    int decRef() override
    {
        const int left = references.change(-1);
        if (left == 0)
        {
            delete this;
        }
        return left;
    }

    PCounterSync references{0};
    int& destroyed;
};

using Holder = PBaseptr<Counted>;

class PBaseptrTest : public testing::Test
{
protected:
    ~PBaseptrTest() override
    {
        EXPECT_EQ(0, object.count());
    }

    Counted object;
};
} // namespace

TEST_F(PBaseptrTest, NullCreatesAnEmptyHolder)
{
    Holder holder(static_cast<Counted*>(nullptr));
    EXPECT_EQ(0u, holder.holders());
    holder.clear();

    EXPECT_EQ(nullptr, holder.get());
    EXPECT_EQ(0u, holder.holders());
}

TEST_F(PBaseptrTest, WrappingAddsOneReference)
{
    const Holder holder(&object);

    EXPECT_EQ(1, object.count());
    EXPECT_EQ(1u, holder.holders());
}

TEST_F(PBaseptrTest, EachWrapAddsAReference)
{
    Holder first(&object);
    Holder second(&object);
    EXPECT_EQ(2, object.count());
    first.clear();
    second.clear();

    EXPECT_EQ(0, object.count());
}

TEST_F(PBaseptrTest, CopiesOfOneWrapAddNoReference)
{
    const Holder first(&object);
    const std::vector<Holder> copies(10, first);

    EXPECT_EQ(1, object.count());
    EXPECT_EQ(11u, first.holders());
}

TEST_F(PBaseptrTest, LastCopyReleasesTheReference)
{
    auto first = std::make_unique<Holder>(&object);
    const auto second = std::make_unique<Holder>(*first);
    first.reset();
    EXPECT_EQ(1, object.count());
    second->clear();

    EXPECT_EQ(0, object.count());
}

TEST_F(PBaseptrTest, AssigningThePointerAlreadyHeldChangesNothing)
{
    Holder holder(&object);
    const Holder copy(holder);
    holder = &object;

    EXPECT_EQ(1, object.count());
    EXPECT_EQ(1, object.taken.change(0));
    EXPECT_EQ(2u, holder.holders());
}

TEST_F(PBaseptrTest, AssignedPointerStartsAGroup)
{
    Counted other;
    Holder holder(&object);
    const Holder copy(holder);
    holder = &other;

    EXPECT_EQ(1, object.count());
    EXPECT_EQ(1, other.count());
    EXPECT_EQ(1u, copy.holders());
    EXPECT_EQ(1u, holder.holders());
}

TEST_F(PBaseptrTest, AssignedHolderJoinsTheGroup)
{
    Counted other;
    Holder holder(&other);
    const Holder source(&object);
    holder = source;

    EXPECT_EQ(0, other.count());
    EXPECT_EQ(1, object.count());
    EXPECT_EQ(2u, source.holders());
}

TEST_F(PBaseptrTest, SelfAssignmentChangesNothing)
{
    Holder holder(&object);
    const Holder& same = holder;
    holder = same;

    EXPECT_EQ(1, object.taken.change(0));
    EXPECT_EQ(1u, holder.holders());
}

TEST_F(PBaseptrTest, MoveTransfersTheReference)
{
    Holder source(&object);
    const Holder target(std::move(source));

    EXPECT_EQ(1, object.taken.change(0));
    EXPECT_EQ(1u, target.holders());
    // NOLINTNEXTLINE(bugprone-use-after-move): a moved-from pointer is null
    EXPECT_EQ(nullptr, source.get());
}

TEST_F(PBaseptrTest, DestroyedThroughItsBaseReleasesTheReference)
{
    const std::unique_ptr<PPtr<Counted>> holder = std::make_unique<Holder>(&object);

    EXPECT_EQ(1, object.count());
}

TEST(PBaseptrLife, LastGroupDestroysTheObject)
{
    int destroyed = 0;
    PBaseptr<SelfDestroying> first(new SelfDestroying(destroyed));
    PBaseptr<SelfDestroying> second(first.get());
    first.clear();
    EXPECT_EQ(0, destroyed);
    second.clear();

    EXPECT_EQ(1, destroyed);
}

TEST(PBaseptrLife, AdoptedObjectIsWrapped)
{
    int destroyed = 0;
    {
        const auto holder = PBaseptr<SelfDestroying>::adopt(new SelfDestroying(destroyed));
        EXPECT_EQ(1u, holder.holders());
    }

    EXPECT_EQ(1, destroyed);
}

TEST(PBaseptrThreads, CopyAndReleaseHoldersOfOneGroup)
{
    int destroyed = 0;
    std::vector<std::thread> threads;
    {
        const PBaseptr<SelfDestroying> shared(new SelfDestroying(destroyed));
        for (int i = 0; i < 4; ++i)
        {
            threads.emplace_back(
                [copy = shared]
                {
                    for (int round = 0; round < 5000; ++round)
                    {
                        const PBaseptr<SelfDestroying> another(copy);
                        PBaseptr<SelfDestroying> assigned;
                        assigned = another;
                    }
                });
        }
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(1, destroyed);
}

TEST(PBaseptrThreads, LastReleaseHappensExactlyOnce)
{
    for (int round = 0; round < 200; ++round)
    {
        int destroyed = 0;
        PBaseptr<SelfDestroying> first(new SelfDestroying(destroyed));
        PBaseptr<SelfDestroying> second(first);
        std::thread other([&second] { second.clear(); });
        first.clear();
        other.join();
        ASSERT_EQ(1, destroyed);
    }
}

TEST(PBaseptrThrows, HolderIsEmptyAfterAReleaseThatThrew)
{
    Throwing object;
    PBaseptr<IBase> holder(&object);
    EXPECT_THROW(holder.clear(), std::runtime_error);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0u, holder.holders());
    holder.clear();
    EXPECT_EQ(0, object.count());
}

TEST(PBaseptrThrows, HolderIsEmptyAfterAnAssignmentThatThrew)
{
    Throwing object;
    Counted next;
    PBaseptr<IBase> holder(&object);
    EXPECT_THROW(holder = &next, std::runtime_error);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0, next.count());
    const PBaseptr<IBase> other(&next);
    holder = &object;
    EXPECT_THROW(holder = other, std::runtime_error);
    EXPECT_FALSE(holder);
    EXPECT_EQ(1, next.count());
}

TEST(PBaseptrThrows, OtherHoldersOfTheGroupAreNotAffected)
{
    Throwing object;
    PBaseptr<IBase> holder(&object);
    {
        PBaseptr<IBase> copy(holder);
        EXPECT_NO_THROW(copy.clear());
    }
    EXPECT_EQ(1, object.count());
    EXPECT_THROW(holder.clear(), std::runtime_error);
}
