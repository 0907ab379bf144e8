// SPDX-License-Identifier: MIT
// PServiceList: the services of a PPlugin, in the order in which they start.
#ifndef IXLAL_SDK_PSERVICELIST_H
#define IXLAL_SDK_PSERVICELIST_H

#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/PService.h"
#include "helpers/Reported.h"
#include "portinglayer/PString.h"

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

/// Starts, finds, ends and releases the services of a PPlugin. All services are added before the
/// core uses the plugin.
class PServiceList
{
public:
    PServiceList() noexcept : fState(eIdle)
    {
    }

    PServiceList(const PServiceList&) = delete;
    PServiceList& operator=(const PServiceList&) = delete;

    /// Adds a TService that iMaker will create. Throws std::bad_alloc.
    template <class TService, class TMaker>
    void add(const PLiteral& iId, TMaker iMaker)
    {
        fEntries.push_back(
            std::unique_ptr<Entry>(new EntryOf<TService, TMaker>(iId, std::move(iMaker))));
    }

    /// The number of services.
    unsigned int size() const noexcept
    {
        return static_cast<unsigned int>(fEntries.size());
    }

    /// The IDs in a new array. Throws std::bad_alloc.
    std::unique_ptr<PString[]> listIds() const
    {
        std::unique_ptr<PString[]> ids(new PString[fEntries.size()]);
        for (std::size_t i = 0; i < fEntries.size(); ++i)
        {
            ids[i] = fEntries[i]->id;
        }
        return ids;
    }

    /// Creates each service and calls its onInit. Returns 0 or the code of the one that failed; may
    /// throw.
    int start()
    {
        int result = eIxlaOk;
        for (std::size_t i = 0; i < fEntries.size() && result == eIxlaOk; ++i)
        {
            result = fEntries[i]->start();
        }
        return result;
    }

    /// As IPlugin::getInstance; -2002 for a service that does not exist yet, or no longer.
    int find(const PLiteral& iId, IBase*& oInstance) const noexcept
    {
        oInstance = nullptr;
        for (const std::unique_ptr<Entry>& entry : fEntries)
        {
            if (iId == entry->id)
            {
                oInstance = entry->instance();
                return oInstance ? eIxlaOk : eIxlaNoInstance;
            }
        }
        return eIxlaUnknownInterface;
    }

    /// Calls onExit of every service that was created, in reverse order. Only the first call does
    /// so; others return at once, even while it is running. When an onExit ends its thread, the
    /// remaining ones are not called.
    void exit()
    {
        int idle = eIdle;
        if (!fState.compare_exchange_strong(idle, eExiting))
        {
            return;
        }
        const Exited exited(fState);
        for (std::size_t i = fEntries.size(); i > 0; --i)
        {
            fEntries[i - 1]->exit();
        }
    }

    /// Releases the services, in reverse order. While exit() is running on another thread, does
    /// nothing: the services are then released when the list is destroyed.
    void release() noexcept
    {
        for (std::size_t i = fEntries.size(); i > 0 && fState == eExited; --i)
        {
            fEntries[i - 1]->release();
        }
    }

private:
    enum EState
    {
        eIdle,
        eExiting,
        eExited
    };

    /// Sets the state to eExited at the end of the scope, also when the thread ends in it.
    class Exited
    {
    public:
        explicit Exited(std::atomic<int>& ioState) noexcept : fState(ioState)
        {
        }

        ~Exited()
        {
            fState = eExited;
        }

        Exited(const Exited&) = delete;
        Exited& operator=(const Exited&) = delete;

    private:
        std::atomic<int>& fState;
    };

    /// One service of any class.
    struct Entry
    {
        explicit Entry(const PLiteral& iId) : id(iId)
        {
        }

        virtual ~Entry()
        {
        }

        virtual int start() = 0;
        virtual void exit() = 0;
        virtual void release() noexcept = 0;
        virtual IBase* instance() const noexcept = 0;

        const PString id;
    };

    template <class TService, class TMaker>
    class EntryOf final : public Entry
    {
    public:
        EntryOf(const PLiteral& iId, TMaker iMaker) : Entry(iId), fMaker(std::move(iMaker))
        {
        }

        int start() override
        {
            fService = PBaseptr<TService>::adopt(fMaker());
            return fService ? fService->onInit() : eIxlaNoInstance;
        }

        void exit() override
        {
            // A failure is in the log and must not keep the other services from ending.
            (void)ixlaReported(
                this->id, [this]() -> int { return exitService(); }, eIxlaNoInstance);
        }

        void release() noexcept override
        {
            fService.clear();
        }

        IBase* instance() const noexcept override
        {
            return static_cast<typename TService::Interface*>(fService.get());
        }

    private:
        int exitService()
        {
            if (fService)
            {
                fService->onExit();
            }
            return eIxlaOk;
        }

        TMaker fMaker;
        PBaseptr<TService> fService;
    };

    std::vector<std::unique_ptr<Entry>> fEntries;
    std::atomic<int> fState;
};

#endif
