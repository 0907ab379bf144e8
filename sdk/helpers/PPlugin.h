// SPDX-License-Identifier: MIT
// PPlugin: the base of plugins, which says what they offer and leaves the rest to it.
#ifndef IXLAL_SDK_PPLUGIN_H
#define IXLAL_SDK_PPLUGIN_H

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"
#include "helpers/PCounted.h"
#include "helpers/PListener.h"
#include "helpers/PServiceList.h"
#include "helpers/Reported.h"
#include "helpers/ServiceLookup.h"

#include <memory>
#include <new>
#include <utility>

/// A plugin whose constructor names its services:
///
///     class HelloPlugin : public PPlugin
///     {
///     public:
///         HelloPlugin()
///         {
///             offer<Hello>(kHelloId);
///         }
///     };
///
///     IXLA_PLUGIN(HelloPlugin)
///
/// init makes the services in the order in which they were offered and calls onInit of each before
/// it makes the next. When one fails or throws, the plugin fails with its code, -501 for a lack of
/// memory and -2003 for any other exception; those made so far hear onExit and go, in the opposite
/// order, as they do when the thread ends in an onInit. When the core announces its exit, onExit of
/// each is called, the last one's first; the services go with the plugin.
///
/// From init on the plugin holds the three services of the core, so that its threads may look them
/// up with ixlaService at any time until it goes.
class PPlugin : public PCounted<IPlugin>
{
public:
    int init() override
    {
        FailedInit failed(*this);
        const int result = ixlaReported(
            L"init", [this]() -> int { return start(); }, eIxlaInitFailed);
        failed.isOver = result == eIxlaOk;
        return result;
    }

    PString* getInterfaces(unsigned int& oCount) noexcept override
    {
        std::unique_ptr<PString[]> ids;
        const int result = ixlaGuarded(
            [&]() -> int
            {
                ids = fServices->listIds();
                return eIxlaOk;
            });
        oCount = result == eIxlaOk ? fServices->size() : 0;
        return ids.release();
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override
    {
        return fServices->find(iInterfaceId, oInstance);
    }

protected:
    /// Throws std::bad_alloc, as the constructors of derived classes may; IXLA_PLUGIN catches it.
    PPlugin() : fServices(std::make_shared<PServiceList>())
    {
    }

    ~PPlugin() override
    {
        end();
    }

    /// Offers a TService, which derives from PService, behind iInterfaceId. In the constructor
    /// only.
    template <class TService>
    void offer(const PLiteral& iInterfaceId)
    {
        offer<TService>(iInterfaceId, [] { return new TService; });
    }

    /// The same, made by iMaker, which returns a new TService or throws.
    template <class TService, class TMaker>
    void offer(const PLiteral& iInterfaceId, TMaker iMaker)
    {
        fServices->add<TService>(iInterfaceId, std::move(iMaker));
    }

    /// The service behind an ID that the plugin itself offers, for the makers of those offered
    /// after it; null before it is made. TService must be what was offered.
    template <class TService>
    TService* service(const PLiteral& iInterfaceId) const noexcept
    {
        IBase* instance = nullptr;
        (void)fServices->find(iInterfaceId, instance); // says no more than the null pointer
        return static_cast<TService*>(static_cast<typename TService::Interface*>(instance));
    }

private:
    /// Ends what was begun when init fails, also by the end of its thread.
    struct FailedInit
    {
        explicit FailedInit(PPlugin& ioPlugin) noexcept : plugin(ioPlugin), isOver(false)
        {
        }

        ~FailedInit()
        {
            if (!isOver)
            {
                plugin.end();
            }
        }

        FailedInit(const FailedInit&) = delete;
        FailedInit& operator=(const FailedInit&) = delete;

        PPlugin& plugin;
        bool isOver; ///< that init did not fail
    };

    /// The services of the core; what the core doesn't have is not needed here.
    struct Held
    {
        PBaseptr<IConfigManager> manager;
        PBaseptr<IEventDispatcher> dispatcher;
        PBaseptr<ILogger> logger;
    };

    int start()
    {
        fHeld.manager = ixlaService<IConfigManager>();
        fHeld.dispatcher = ixlaService<IEventDispatcher>();
        fHeld.logger = ixlaService<ILogger>();
        const int result = fServices->start();
        return result == eIxlaOk ? awaitExit() : result;
    }

    // The listener shares the services: an onExit that never returns, which the stop of the core
    // leaves alone on its thread, keeps what it uses.
    int awaitExit()
    {
        int result = eIxlaOk;
        fDispatcher = ixlaService<IEventDispatcher>(result);
        if (result != eIxlaOk)
        {
            return result;
        }
        const std::shared_ptr<PServiceList> services = fServices;
        fExitListener =
            ixlaListener([services](const PLiteral&, IBase*, int) { services->exit(); });
        return fDispatcher->addListener(kIxlaCoreExitTopic, fExitListener.get());
    }

    void end() noexcept
    {
        if (fDispatcher && fExitListener)
        {
            // Not subscribed after a failed init; and a listener that has to stay does nothing.
            (void)fDispatcher->removeListener(kIxlaCoreExitTopic, fExitListener.get());
        }
        fExitListener.clear();
        fDispatcher.clear();
        fServices->exit();
        fServices->release();
    }

    Held fHeld; ///< first, so that it goes last
    const std::shared_ptr<PServiceList> fServices;
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<IEventListener> fExitListener;
};

/// A new plugin with a count of 0; null when its constructor throws, which the core answers with
/// -1009.
template <class TPlugin>
IXLA_PASSES_THREAD_END IPlugin* ixlaNewPlugin()
{
    try
    {
        return new TPlugin;
    }
    catch (PThreadEnd&)
    {
        passThreadEnd();
    }
    catch (...)
    {
        return nullptr;
    }
}

/// Defines the factory, the one function that a plugin library exports. Stands once, outside of
/// every namespace.
#define IXLA_PLUGIN(...)                                                                           \
    IPlugin* ixlaGetPlugin()                                                                       \
    {                                                                                              \
        return ixlaNewPlugin<__VA_ARGS__>();                                                       \
    }

#endif
