// SPDX-License-Identifier: MIT
// PServiceList: the services of a PPlugin, in the order in which they begin.
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

/// What PPlugin does with its services; see there. Filled before it is used by the core.
class PServiceList
{
public:
    PServiceList() noexcept : fState(eIdle)
    {
    }

    PServiceList(const PServiceList&) = delete;
    PServiceList& operator=(const PServiceList&) = delete;

    /// Adds a TService that iMaker makes. Throws std::bad_alloc.
    template <class TService, class TMaker>
    void add(const PLiteral& iId, TMaker iMaker)
    {
        fEntries.push_back(
            std::unique_ptr<Entry>(new EntryOf<TService, TMaker>(iId, std::move(iMaker))));
    }

    /// How many there are.
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

    /// Makes and begins the services. Returns 0 or the code of the one that failed; may throw.
    int start()
    {
        int result = eIxlaOk;
        for (std::size_t i = 0; i < fEntries.size() && result == eIxlaOk; ++i)
        {
            result = fEntries[i]->start();
        }
        return result;
    }

    /// As IPlugin::getInstance; -2002 for a service that is not there.
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

    /// Calls onExit of every service that began, the last one first. The first call does it; others
    /// return at once, even while it is under way. An onExit that ends its thread is the last one.
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

    /// Drops the services, the last one first, unless exit() is under way on another thread: they
    /// then go with the list.
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

    /// Marks the list as exited, also when the thread ends on the way.
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

    /// One service, whatever its class.
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
            // What goes wrong is in the log; the others have their turn all the same.
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
