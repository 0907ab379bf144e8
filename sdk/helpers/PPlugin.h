// SPDX-License-Identifier: MIT
/// @file
/// PPlugin: the base class of plugins; a derived class only names its services. Includes what most
/// services use: the interfaces of the core, ixlaInOrder and IXLA_LOG.
#ifndef IXLAL_SDK_PPLUGIN_H
#define IXLAL_SDK_PPLUGIN_H

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"
#include "helpers/InOrder.h"
#include "helpers/Log.h"
#include "helpers/PCounted.h"
#include "helpers/PListener.h"
#include "helpers/PServiceList.h"
#include "helpers/Reported.h"
#include "helpers/ServiceLookup.h"

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

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
/// init creates the services in the order in which they were offered and calls onInit of each
/// before it creates the next. When an onInit fails, init returns its code: -501 for
/// std::bad_alloc, -2003 for any other exception. The services that exist then get onExit and are
/// released, in reverse order. The same happens when the thread ends in an onInit. When the core
/// sends its exit event, onExit of each service is called, in reverse order; the services are
/// released when the plugin is destroyed.
///
/// The plugin holds the three services of the core from init until it is destroyed, so its threads
/// may look them up with ixlaService at any time in between.
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
        oCount = result == eIxlaOk ? fServices->idCount() : 0;
        return ids.release();
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override
    {
        return fServices->find(iInterfaceId, oInstance);
    }

protected:
    /// Throws std::bad_alloc. Constructors of derived classes may throw, too; IXLA_PLUGIN catches
    /// the exception.
    PPlugin() : fServices(std::make_shared<PServiceList>())
    {
    }

    ~PPlugin() override
    {
        end();
    }

    /// Offers a TService, which derives from PService, behind iInterfaceId. To be called in the
    /// constructor only.
    template <class TService>
    void offer(const PLiteral& iInterfaceId)
    {
        offer<TService>(iInterfaceId, [] { return new TService; });
    }

    /// The same with a service that iMaker creates: it returns a new TService or throws.
    template <class TService, class TMaker>
    void offer(const PLiteral& iInterfaceId, TMaker iMaker)
    {
        fServices->add<TService>({PString(iInterfaceId)}, std::move(iMaker));
    }

    /// Offers one TService behind several interface IDs, one for each interface of its PService and
    /// in the same order: offer<Queue>({kQueueId, kQueueStateId}). There is one object with one
    /// count, and one call of onInit and of onExit.
    template <class TService, std::size_t kCount>
    void offer(const wchar_t* const (&iInterfaceIds)[kCount])
    {
        offer<TService>(iInterfaceIds, [] { return new TService; });
    }

    /// The same with a service that iMaker creates.
    template <class TService, class TMaker, std::size_t kCount>
    void offer(const wchar_t* const (&iInterfaceIds)[kCount], TMaker iMaker)
    {
        static_assert(kCount == TService::kInterfaces, "offer one ID for each interface");
        fServices->add<TService>(std::vector<PString>(iInterfaceIds, iInterfaceIds + kCount),
                                 std::move(iMaker));
    }

    /// The service behind an ID that this plugin offers, for the makers of later services;
    /// borrowed, null before it is created. TService must be the class that was offered.
    template <class TService>
    TService* service(const PLiteral& iInterfaceId) const noexcept
    {
        return static_cast<TService*>(
            static_cast<typename TService::Interface*>(fServices->findFirst(iInterfaceId)));
    }

private:
    /// Ends the plugin's services when init fails, or when its thread ends.
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
        bool isOver; ///< init has succeeded
    };

    /// The services of the core; empty where the core has none.
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

    // The listener shares ownership of the services: the core stops although an onExit never
    // returns, and the services that it uses must live on.
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
            // It fails after a failed init, when nothing is subscribed. A listener that could not
            // be removed is harmless: exit() does its work only once.
            (void)fDispatcher->removeListener(kIxlaCoreExitTopic, fExitListener.get());
        }
        fExitListener.clear();
        fDispatcher.clear();
        fServices->exit();
        fServices->release();
    }

    Held fHeld; ///< first, so that it is destroyed last
    const std::shared_ptr<PServiceList> fServices;
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<IEventListener> fExitListener;
};

/// Creates a plugin with a count of 0. Returns null when its constructor throws; the core then
/// reports -1009.
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

/// Defines the factory, the one function that a plugin library exports. Use it once in a library,
/// at global scope.
#define IXLA_PLUGIN(...)                                                                           \
    IPlugin* ixlaGetPlugin()                                                                       \
    {                                                                                              \
        return ixlaNewPlugin<__VA_ARGS__>();                                                       \
    }

/// Defines a plugin with one service and its factory, in place of a class derived from PPlugin and
/// IXLA_PLUGIN. What follows the class are the arguments of PPlugin::offer: the interface ID, or
/// one ID for each interface in braces. Use it once in a library, at global scope:
///
///     IXLA_SERVICE_PLUGIN(Queue, kQueueId)
#define IXLA_SERVICE_PLUGIN(TService, ...)                                                         \
    namespace                                                                                      \
    {                                                                                              \
    class IxlaServicePlugin final : public PPlugin                                                 \
    {                                                                                              \
    public:                                                                                        \
        IxlaServicePlugin()                                                                        \
        {                                                                                          \
            offer<TService>(__VA_ARGS__);                                                          \
        }                                                                                          \
    };                                                                                             \
    }                                                                                              \
    IXLA_PLUGIN(IxlaServicePlugin)

#endif
