// SPDX-License-Identifier: MIT
// A complete plugin: one service behind one interface ID.

#include "IHello.h"

#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"
#include "portinglayer/PCounterSync.h"

#include <new>

// The reference count that every object behind an interface has.
template <class TInterface>
class Counted : public TInterface
{
public:
    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

    virtual ~Counted()
    {
    }

private:
    PCounterSync fRefCount{0};
};

class Hello : public Counted<IHello>
{
public:
    const wchar_t* greet(int iCount) override
    {
        return iCount == 1 ? L"Hello!" : L"Hello again!";
    }
};

// The plugin: lists its interface IDs, creates the service in init, and returns it.
class HelloPlugin : public Counted<IPlugin>
{
public:
    int init() override
    {
        return ixlaGuarded( // converts std::bad_alloc to -501
            [this]
            {
                fHello = PBaseptr<IHello>::adopt(new Hello);
                return eIxlaOk;
            });
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        PString* ids = new (std::nothrow) PString[1]; // the core frees it
        if (ids && ids[0].set(kHelloId) != 0)
        {
            delete[] ids;
            ids = nullptr;
        }
        oCount = ids ? 1 : 0;
        return ids;
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        const bool known = iInterfaceId == kHelloId;
        oInstance = known ? fHello.get() : nullptr;
        return known ? eIxlaOk : eIxlaUnknownInterface;
    }

private:
    PBaseptr<IHello> fHello;
};

// The only function that the library exports.
IPlugin* ixlaGetPlugin()
{
    return new (std::nothrow) HelloPlugin;
}
