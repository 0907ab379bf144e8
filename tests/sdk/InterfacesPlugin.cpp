// SPDX-License-Identifier: MIT
// A plugin with a service that has two interfaces, and one that needs it.

#include "helpers/PPlugin.h"
#include "sdk/TwoInterfaces.h"

extern "C" int ixlalTestStep(const char* iStep);

#define TEST_STEP(step) ixlalTestStep(TEST_PLUGIN_NAME "." step)

namespace
{
class Both : public PBoth
{
public:
    Both()
    {
        TEST_STEP("made");
    }

    ~Both() override
    {
        TEST_STEP("destroyed");
    }

    int onInit() override
    {
        return TEST_STEP("init");
    }

    void onExit() override
    {
        TEST_STEP("exit");
    }
};

/// Fails to initialise unless both IDs lead to the same object.
class User : public PService<IBase>
{
public:
    User(Both* iByFirst, Both* iBySecond) : fIsSame(iByFirst && iByFirst == iBySecond)
    {
    }

    int onInit() override
    {
        return fIsSame ? eIxlaOk : eIxlaNoInstance;
    }

private:
    const bool fIsSame;
};

class InterfacesPlugin : public PPlugin
{
public:
    InterfacesPlugin()
    {
        offer<Both>({kFirstInterfaceId, kSecondInterfaceId});
        offer<User>(L"test.interfaces.user",
                    [this] {
                        return new User(service<Both>(kFirstInterfaceId),
                                        service<Both>(kSecondInterfaceId));
                    });
    }
};
} // namespace

IXLA_PLUGIN(InterfacesPlugin)
