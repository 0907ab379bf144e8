// SPDX-License-Identifier: MIT
#include "IBase.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <new>

namespace
{
int sDestroyed = 0;

struct Plain
{
    ~Plain()
    {
        ++sDestroyed;
    }
};

/// An interface without a destructor, and its implementation.
struct Bare
{
    virtual void work() = 0;
};

struct BareObject : Bare
{
    void work() override
    {
    }
};

struct Counted : IBase
{
    virtual ~Counted()
    {
        ++sDestroyed;
    }

    int incRef() override
    {
        return ++references;
    }

    int decRef() override
    {
        const int left = --references;
        if (left == 0)
        {
            delete this;
        }
        return left;
    }

    int references = 0;
};

class PPtrMemory : public testing::Test
{
protected:
    PPtrMemory()
    {
        sDestroyed = 0;
    }

    ~PPtrMemory() override
    {
        AllocationFaults::disarm();
    }

    /// Whether iCall throws std::bad_alloc when its allocation fails.
    template <class TCall>
    static bool throws(const TCall& iCall)
    {
        AllocationFaults::failAfter(0);
        bool thrown = false;
        try
        {
            iCall();
        }
        catch (const std::bad_alloc&)
        {
            thrown = true;
        }
        AllocationFaults::disarm();
        return thrown;
    }
};
} // namespace

TEST_F(PPtrMemory, EmptyHoldersAllocateNothing)
{
    AllocationFaults::startCounting();
    {
        PPtr<Plain> holder(nullptr);
        PBaseptr<Counted> base(static_cast<Counted*>(nullptr));
        const PBaseptr<Counted> copy(base);
        base = nullptr;
        holder.clear();
    }

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST_F(PPtrMemory, CopyingAllocatesNothing)
{
    const PBaseptr<Counted> holder(new Counted);
    AllocationFaults::startCounting();
    {
        PBaseptr<Counted> copy(holder);
        copy = holder;
    }

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST_F(PPtrMemory, WrapThatFailsLeavesTheObjectToItsOwner)
{
    Counted* const object = new Counted;

    EXPECT_TRUE(throws([&] { const PBaseptr<Counted> holder(object); }));
    EXPECT_EQ(0, object->references);
    EXPECT_EQ(0, sDestroyed);
    delete object;
}

TEST_F(PPtrMemory, FailedAssignmentDoesNotChangeTheHolder)
{
    Counted* const other = new Counted;
    PBaseptr<Counted> holder(new Counted);
    Counted* const before = holder.get();

    EXPECT_TRUE(throws([&] { holder = other; }));
    EXPECT_EQ(before, holder.get());
    EXPECT_EQ(1u, holder.holders());
    EXPECT_EQ(1, before->references);
    EXPECT_EQ(0, other->references);
    delete other;
}

TEST_F(PPtrMemory, AdoptDestroysTheObjectThatItCannotHold)
{
    Counted* const object = new Counted;

    EXPECT_TRUE(throws([&] { PBaseptr<Counted>::adopt(object); }));
    EXPECT_EQ(1, sDestroyed);
}

TEST_F(PPtrMemory, AdoptFreesTheArrayThatItCannotHold)
{
    Plain* const objects = new Plain[3];

    EXPECT_TRUE(throws([&] { PPtr<Plain>::adopt(objects, ePtrArray); }));
    EXPECT_EQ(3, sDestroyed);
}

TEST_F(PPtrMemory, AdoptedNullAllocatesNothing)
{
    AllocationFaults::startCounting();
    const PBaseptr<Counted> holder = PBaseptr<Counted>::adopt(nullptr);

    EXPECT_EQ(0, AllocationFaults::counted());
    EXPECT_EQ(nullptr, holder.get());
}

TEST_F(PPtrMemory, ArrayOfAnInterfaceWithoutDestructorIsFreed)
{
    const long long before = AllocationFaults::live();
    int freed = 0;
    {
        const PPtr<Bare> holder(new BareObject[2], ePtrArray);
        EXPECT_LT(before, AllocationFaults::live());
        freed = AllocationFaults::arraysFreed();
    }
    EXPECT_EQ(before, AllocationFaults::live());
    EXPECT_EQ(freed + 1, AllocationFaults::arraysFreed());
}
