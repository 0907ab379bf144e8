// SPDX-License-Identifier: MIT
#include "IBase.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "support/AllocationFaults.h"
#include "support/Counted.h"

#include <gtest/gtest.h>

namespace
{
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

struct Object : Counted<IBase>
{
};
} // namespace

TEST(PPtrMemory, EmptyHoldersAllocateNothing)
{
    AllocationFaults::startCounting();
    {
        PPtr<int> holder(nullptr);
        PBaseptr<Object> base(static_cast<Object*>(nullptr));
        const PBaseptr<Object> copy(base);
        base = nullptr;
        holder.clear();
    }

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST(PPtrMemory, CopyingAllocatesNothing)
{
    const PBaseptr<Object> holder(new Object);
    AllocationFaults::startCounting();
    {
        PBaseptr<Object> copy(holder);
        copy = holder;
    }

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST(PPtrMemory, AdoptedNullAllocatesNothing)
{
    AllocationFaults::startCounting();
    const PBaseptr<Object> holder = PBaseptr<Object>::adopt(nullptr);

    EXPECT_EQ(0, AllocationFaults::counted());
    EXPECT_EQ(nullptr, holder.get());
}

TEST(PPtrMemory, ArrayOfAnInterfaceWithoutDestructorIsFreed)
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
