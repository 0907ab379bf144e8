// SPDX-License-Identifier: MIT
// SlotWalk: calls every slot of an interface by its number and checks which operation is reached.
#ifndef IXLAL_TESTS_SLOTWALK_H
#define IXLAL_TESTS_SLOTWALK_H

#include "support/Slots.h"

#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

/// The last operation that was called, and its arguments.
struct SlotCall
{
    /// Every recording operation calls this with its name and its arguments, of these types.
    template <class... TArguments>
    int note(const char* iOperation, std::type_identity_t<TArguments>... iArguments)
    {
        operation = iOperation;
        arguments = shown(_given<TArguments>(iArguments)...);
        return result;
    }

    /// What is recorded of an argument: the address of a reference, the object of a holder, and the
    /// value of any other.
    template <class TArgument, class TValue>
    static auto _given(TValue& iArgument)
    {
        if constexpr (std::is_reference_v<TArgument>)
        {
            return &iArgument;
        }
        else if constexpr (std::is_class_v<TArgument>)
        {
            return iArgument.get();
        }
        else
        {
            return iArgument;
        }
    }

    template <class... TArguments>
    static std::string shown(const TArguments&... iArguments)
    {
        std::ostringstream text;
        (show(text, iArguments), ...);
        return text.str();
    }

    std::string operation = "nothing";
    std::string arguments;
    int result = 0; ///< the result of the next operation

private:
    template <class TArgument>
    static void show(std::ostream& oText, const TArgument& iArgument)
    {
        if constexpr (std::is_pointer_v<TArgument>)
        {
            oText << static_cast<const void*>(iArgument) << ' ';
        }
        else
        {
            oText << iArgument << ' ';
        }
    }
};

/// The operations of a recorder: their names and the types of their arguments.
#define IXLAL_RECORDED_0(iOperation)                                                               \
    int iOperation() override                                                                      \
    {                                                                                              \
        return call.note(#iOperation);                                                             \
    }
#define IXLAL_RECORDED_1(iOperation, T1)                                                           \
    int iOperation(T1 i1) override                                                                 \
    {                                                                                              \
        return call.note<T1>(#iOperation, i1);                                                     \
    }
#define IXLAL_RECORDED_2(iOperation, T1, T2)                                                       \
    int iOperation(T1 i1, T2 i2) override                                                          \
    {                                                                                              \
        return call.note<T1, T2>(#iOperation, i1, i2);                                             \
    }
#define IXLAL_RECORDED_3(iOperation, T1, T2, T3)                                                   \
    int iOperation(T1 i1, T2 i2, T3 i3) override                                                   \
    {                                                                                              \
        return call.note<T1, T2, T3>(#iOperation, i1, i2, i3);                                     \
    }
#define IXLAL_RECORDED_4(iOperation, T1, T2, T3, T4)                                               \
    int iOperation(T1 i1, T2 i2, T3 i3, T4 i4) override                                            \
    {                                                                                              \
        return call.note<T1, T2, T3, T4>(#iOperation, i1, i2, i3, i4);                             \
    }
#define IXLAL_RECORDED_5(iOperation, T1, T2, T3, T4, T5)                                           \
    int iOperation(T1 i1, T2 i2, T3 i3, T4 i4, T5 i5) override                                     \
    {                                                                                              \
        return call.note<T1, T2, T3, T4, T5>(#iOperation, i1, i2, i3, i4, i5);                     \
    }

/// The base of all recorders.
template <class TInterface>
struct SlotRecorder : TInterface
{
    IXLAL_RECORDED_0(incRef)
    IXLAL_RECORDED_0(decRef)

    mutable SlotCall call;
};

/// Walks through one table. It does not depend on the order of declarations in the header: the
/// caller gives the number of each operation.
class SlotWalk
{
public:
    SlotWalk(const char* iInterface, void* iObject, SlotCall& ioCall)
        : fInterface(iInterface), fObject(iObject), fCall(ioCall)
    {
    }

    /// Calls a slot that must reach iOperation; the types are those of its arguments.
    template <class... TArguments>
    void expect(std::size_t iSlot, const char* iOperation,
                std::type_identity_t<TArguments>... iArguments)
    {
        const std::string given = SlotCall::shown(SlotCall::_given<TArguments>(iArguments)...);
        prepare(iSlot);
        check(iSlot, iOperation, given,
              callSlot<int, TArguments...>(fObject, iSlot, static_cast<TArguments>(iArguments)...));
    }

    /// The same for an operation with the arguments iLevel, iFormat, ...
    void expectMessage(std::size_t iSlot, const char* iOperation)
    {
        typedef int (*Message)(void*, int, const wchar_t*, ...);
        const wchar_t* const format = L"%d";
        prepare(iSlot);
        const auto message = reinterpret_cast<Message>(slotOf(fObject, iSlot));
        check(iSlot, iOperation, SlotCall::shown(7, format, 42), message(fObject, 7, format, 42));
    }

    /// One line for every slot that reaches another operation.
    const std::vector<std::string>& problems() const
    {
        return fProblems;
    }

private:
    void prepare(std::size_t iSlot)
    {
        fCall = SlotCall();
        fCall.result = 1000 + static_cast<int>(iSlot);
    }

    void check(std::size_t iSlot, const std::string& iOperation, const std::string& iArguments,
               int iResult)
    {
        const std::string slot = fInterface + " slot " + std::to_string(iSlot);
        if (fCall.operation != iOperation)
        {
            fProblems.push_back(slot + " reaches " + fCall.operation + " instead of " + iOperation);
        }
        else if (fCall.arguments != iArguments || fCall.result != iResult)
        {
            fProblems.push_back(slot + " garbles what " + iOperation + " is given or returns");
        }
    }

    std::string fInterface;
    void* fObject;
    SlotCall& fCall;
    std::vector<std::string> fProblems;
};

/// Starts the walk through a recorder, whose member call records the calls of its operations, with
/// the operations of IBase.
template <class TRecorder>
SlotWalk beginWalk(const char* iInterface, TRecorder& ioRecorder)
{
    SlotWalk walk(iInterface, &ioRecorder, ioRecorder.call);
    walk.expect(1, "incRef");
    walk.expect(2, "decRef");
    return walk;
}

/// The walks through all public interfaces: the problems of each.
std::vector<std::string> walkBase();
std::vector<std::string> walkPlugin();
std::vector<std::string> walkEventDispatcher();
std::vector<std::string> walkEventListener();
std::vector<std::string> walkLogger();
std::vector<std::string> walkConfig();
std::vector<std::string> walkConfigChanged();
std::vector<std::string> walkConfigManager();

#endif
