// SPDX-License-Identifier: MIT
#include "IBase.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PCounter.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PString.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <cstddef>

// The holders are not standard-layout types, but both compilers support offsetof for them.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace
{
template <class THolder>
struct Fields : THolder
{
    using THolder::fCounter;
    using THolder::fPtr;
    using THolder::fType;

    static constexpr std::size_t offsetOfPtr()
    {
        return offsetof(Fields, fPtr);
    }

    static constexpr std::size_t offsetOfCounter()
    {
        return offsetof(Fields, fCounter);
    }

    static constexpr std::size_t offsetOfType()
    {
        return offsetof(Fields, fType);
    }
};

using PlainFields = Fields<PPtr<PString>>;
using BaseFields = Fields<PBaseptr<IBase>>;

static_assert(sizeof(wchar_t) == 4, "texts are made of 32-bit characters");
static_assert(sizeof(PBaseptr<IBase>) == sizeof(PPtr<IBase>), "PBaseptr adds no field");
static_assert(sizeof(PCounterSync) == sizeof(int), "a count is one integer");
static_assert(sizeof(PCounter) == sizeof(int), "a count is one integer");
static_assert(ePtrObject == 0 && ePtrArray == 1, "the values are part of the binary interface");
static_assert(PlainFields::offsetOfPtr() == sizeof(void*), "behind the table of virtual members");
static_assert(PlainFields::offsetOfCounter() == 2 * sizeof(void*), "second");
static_assert(PlainFields::offsetOfType() == 3 * sizeof(void*), "third");

#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(PPtr<PString>) == 16, "32-bit layout");
static_assert(sizeof(PBaseptr<IBase>) == 16, "32-bit layout");
static_assert(PlainFields::offsetOfPtr() == 4 && BaseFields::offsetOfPtr() == 4, "32-bit layout");
static_assert(PlainFields::offsetOfCounter() == 8 && BaseFields::offsetOfCounter() == 8,
              "32-bit layout");
static_assert(PlainFields::offsetOfType() == 12 && BaseFields::offsetOfType() == 12,
              "32-bit layout");
#endif

struct Counted : IBase
{
    int incRef() override
    {
        return ++references;
    }

    int decRef() override
    {
        return --references;
    }

    int references = 0;
};
} // namespace

TEST(Layout, HooksOfTheHolderFollowItsDestructor)
{
    Counted object;
    PBaseptr<Counted> holder(&object);

    callSlot<void>(&holder, 3);
    EXPECT_EQ(2, object.references);
    callSlot<void>(&holder, 4);
    EXPECT_EQ(1, object.references);
}

TEST(Layout, HolderCountIsAnUnsignedIntOfItsOwn)
{
    Counted object;
    const PBaseptr<Counted> holder(&object);
    const PBaseptr<Counted> copy(holder);
    const char* const bytes = reinterpret_cast<const char*>(&holder);
    const auto* const counter =
        *reinterpret_cast<unsigned int* const*>(bytes + BaseFields::offsetOfCounter());

    EXPECT_EQ(2u, *counter);
}
