// SPDX-License-Identifier: MIT
/// @file
/// ixlaInOrder: runs the steps of an onInit and returns the first failure with its name.
#ifndef IXLAL_SDK_INORDER_H
#define IXLAL_SDK_INORDER_H

#include "ILogger.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/PNamedResult.h"
#include "helpers/Reported.h"
#include "helpers/ServiceLookup.h"

#include <utility>

/// A step of ixlaInOrder: looks up a service and holds it.
template <class TService>
class PServiceStep
{
public:
    /// iTolerated is a code that counts as success. The ID is borrowed.
    PServiceStep(const PLiteral& iId, PBaseptr<TService>& oService, int iTolerated) noexcept
        : fId(iId), fService(oService), fTolerated(iTolerated)
    {
    }

    /// Runs the step.
    PNamedResult operator()() const
    {
        int result = eIxlaOk;
        fService = ixlaService<TService>(fId, result);
        return PNamedResult(result == fTolerated ? eIxlaOk : result, fId);
    }

private:
    const PLiteral fId;
    PBaseptr<TService>& fService;
    const int fTolerated;
};

/// A step of ixlaInOrder: opens a named log.
class PNamedLogStep
{
public:
    /// The name is borrowed.
    PNamedLogStep(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept
        : fName(iName), fLogger(oLogger)
    {
    }

    /// Runs the step.
    PNamedResult operator()() const
    {
        int result = eIxlaOk;
        const PBaseptr<ILogger> shared = ixlaService<ILogger>(result);
        if (result != eIxlaOk)
        {
            return PNamedResult(result, fName);
        }
        // Stays when logging is disabled: getLogger then returns 0 and no logger.
        PBaseptr<ILogger> named = shared;
        result = shared->getLogger(fName, named);
        if (result == eIxlaOk)
        {
            fLogger = named;
        }
        return PNamedResult(result, fName);
    }

private:
    const PLiteral fName;
    PBaseptr<ILogger>& fLogger;
};

/// A step of ixlaInOrder: calls a callable.
template <class TFunction>
class PCallStep
{
public:
    /// The name is borrowed.
    PCallStep(const PLiteral& iName, TFunction iFunction)
        : fName(iName), fFunction(std::move(iFunction))
    {
    }

    /// Runs the step.
    PNamedResult operator()() const
    {
        return PNamedResult(ixlaReported(fName, fFunction, eIxlaInitFailed), fName);
    }

private:
    const PLiteral fName;
    const TFunction fFunction;
};

/// Subscribes with a PSubscription or a PConfigSubscription.
template <class TSubscription, class TFunction>
class PSubscribeCall
{
public:
    /// The topic, or configuration ID, is borrowed.
    PSubscribeCall(TSubscription& ioSubscription, const PLiteral& iTopic, TFunction iFunction)
        : fSubscription(ioSubscription), fTopic(iTopic), fFunction(std::move(iFunction))
    {
    }

    /// Returns the result of subscribe().
    int operator()() const
    {
        return fSubscription.subscribe(fTopic, fFunction);
    }

private:
    TSubscription& fSubscription;
    const PLiteral fTopic;
    const TFunction fFunction;
};

/// Loads a configuration with declared keys.
template <class TConfig>
class PLoadCall
{
public:
    /// Borrows the configuration.
    explicit PLoadCall(TConfig& ioConfig) noexcept : fConfig(ioConfig)
    {
    }

    /// Returns the result of load().
    int operator()() const
    {
        return fConfig.load();
    }

private:
    TConfig& fConfig;
};

/// Runs steps of any type.
struct PStepRunner
{
    /// Looks up a service by its IxlaServiceId.
    template <class TService>
    static PNamedResult run(PBaseptr<TService>& oService)
    {
        return PServiceStep<TService>(IxlaServiceId<TService>::get(), oService, eIxlaOk)();
    }

    /// Runs any other step.
    template <class TStep>
    static PNamedResult run(const TStep& iStep)
    {
        return iStep();
    }
};

/// Looks up the service behind iId and holds it in oService. The text of iId is borrowed; this is
/// true of the texts of all steps.
template <class TService>
PServiceStep<TService> ixlaNeed(const PLiteral& iId, PBaseptr<TService>& oService) noexcept
{
    return PServiceStep<TService>(iId, oService, eIxlaOk);
}

/// The same for a service that may be missing: without a plugin that offers iId, oService is empty
/// and the step succeeds. A plugin that fails to initialise is a failure.
template <class TService>
PServiceStep<TService> ixlaMayUse(const PLiteral& iId, PBaseptr<TService>& oService) noexcept
{
    return PServiceStep<TService>(iId, oService, eIxlaUnknownInterface);
}

/// Opens the log file iName in the plugins' log directory. While the logs of plugins are disabled,
/// oLogger is the shared logger, which drops all lines; it is never empty after a success.
inline PNamedLogStep ixlaNamedLog(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept
{
    return PNamedLogStep(iName, oLogger);
}

/// Calls iFunction, which returns a result code. An exception is written to the plugins' log after
/// iName; std::bad_alloc becomes -501, any other -2003.
template <class TFunction>
PCallStep<TFunction> ixlaStep(const PLiteral& iName, TFunction iFunction)
{
    return PCallStep<TFunction>(iName, std::move(iFunction));
}

/// Subscribes iFunction to a topic with a PSubscription, or to the changes of a configuration ID
/// with a PConfigSubscription.
template <class TSubscription, class TFunction>
PCallStep<PSubscribeCall<TSubscription, TFunction>>
ixlaSubscribe(TSubscription& ioSubscription, const PLiteral& iTopic, TFunction iFunction)
{
    return ixlaStep(iTopic, PSubscribeCall<TSubscription, TFunction>(ioSubscription, iTopic,
                                                                     std::move(iFunction)));
}

/// Loads a PKeyedConfig and begins to follow its changes. A failure has the name of its ID.
template <class TConfig>
PCallStep<PLoadCall<TConfig>> ixlaLoad(TConfig& ioConfig)
{
    return ixlaStep(ioConfig.id(), PLoadCall<TConfig>(ioConfig));
}

/// Success without steps.
inline PNamedResult ixlaInOrder() noexcept
{
    return PNamedResult();
}

/// Runs the steps from left to right until one fails. Returns success, or the failure with its
/// name. What earlier steps have found stays. A step is
///
/// - a PBaseptr, which gets the service of its interface (see IxlaServiceId), or
/// - the result of ixlaNeed, ixlaMayUse, ixlaNamedLog, ixlaLoad, ixlaSubscribe, ixlaStep,
///   ixlaConfig or ixlaRead, or
/// - a callable without arguments that returns a PNamedResult.
///
///     int onInit() override
///     {
///         return ixlaInOrder(fDispatcher, ixlaNeed(kStoreId, fStore),
///                            ixlaNamedLog(L"queue.log", fLog))
///             .logged(L"queue");
///     }
template <class TStep, class... TMore>
PNamedResult ixlaInOrder(TStep&& ioStep, TMore&&... ioMore)
{
    PNamedResult result = PStepRunner::run(ioStep);
    return result.code() == eIxlaOk ? ixlaInOrder(ioMore...) : result;
}

#endif
