// SPDX-License-Identifier: MIT
// PServiceList: the services of a PPlugin, in the order in which they start.
#ifndef IXLAL_SDK_PSERVICELIST_H
#define IXLAL_SDK_PSERVICELIST_H

#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/PService.h"
#include "helpers/Reported.h"
#include "portinglayer/PString.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

/// Starts, finds, ends and releases the services of a PPlugin. All services are added before the
/// core uses the plugin.
class PServiceList
{
public:
    PServiceList() noexcept : fIdCount(0), fState(eIdle)
    {
    }

    PServiceList(const PServiceList&) = delete;
    PServiceList& operator=(const PServiceList&) = delete;

    /// Adds a TService that iMaker will create, behind one ID for each of its first interfaces.
    /// There is at least one ID. Throws std::bad_alloc.
    template <class TService, class TMaker>
    void add(std::vector<PString> iIds, TMaker iMaker)
    {
        fIdCount += static_cast<unsigned int>(iIds.size());
        fEntries.push_back(std::unique_ptr<Entry>(
            new EntryOf<TService, TMaker>(std::move(iIds), std::move(iMaker))));
    }

    /// The number of IDs.
    unsigned int idCount() const noexcept
    {
        return fIdCount;
    }

    /// The IDs in a new array. Throws std::bad_alloc.
    std::unique_ptr<PString[]> listIds() const
    {
        std::unique_ptr<PString[]> ids(new PString[fIdCount]);
        PString* next = ids.get();
        for (const std::unique_ptr<Entry>& entry : fEntries)
        {
            next = std::copy(entry->ids.begin(), entry->ids.end(), next);
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
        unsigned int index = 0;
        const Entry* const entry = search(iId, index);
        if (!entry)
        {
            return eIxlaUnknownInterface;
        }
        oInstance = entry->instance(index);
        return oInstance ? eIxlaOk : eIxlaNoInstance;
    }

    /// The first interface of the service that has iId among its IDs; null for none.
    IBase* findFirst(const PLiteral& iId) const noexcept
    {
        unsigned int ignored = 0;
        const Entry* const entry = search(iId, ignored);
        return entry ? entry->instance(0) : nullptr;
    }

    /// Ends the workers and timers of every service that was created and calls its onExit, in
    /// reverse order. Only the first call does so; others return at once, even while it is running.
    /// When an onExit ends its thread, the remaining ones are not called.
    void exit()
    {
        int idle = eIdle;
        if (!fState.compare_exchange_strong(idle, eExiting))
        {
            return;
        }
        const Exited exited(*this);
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

    /// Sets the state to eExited at the end of the scope. When the thread ends in an onExit, the
    /// workers and timers of the remaining services end as well.
    class Exited
    {
    public:
        explicit Exited(PServiceList& ioList) noexcept : fList(ioList)
        {
        }

        ~Exited()
        {
            for (std::size_t i = fList.fEntries.size(); i > 0; --i)
            {
                fList.fEntries[i - 1]->endMembers();
            }
            fList.fState = eExited;
        }

        Exited(const Exited&) = delete;
        Exited& operator=(const Exited&) = delete;

    private:
        PServiceList& fList;
    };

    /// One service of any class.
    struct Entry
    {
        explicit Entry(std::vector<PString> iIds) : ids(std::move(iIds))
        {
        }

        virtual ~Entry()
        {
        }

        virtual int start() = 0;
        virtual void exit() = 0;
        virtual void endMembers() noexcept = 0;
        virtual void release() noexcept = 0;
        virtual IBase* instance(unsigned int iIndex) const noexcept = 0;

        const std::vector<PString> ids; ///< in the order of the interfaces
    };

    template <class TService, class TMaker>
    class EntryOf final : public Entry
    {
    public:
        EntryOf(std::vector<PString> iIds, TMaker iMaker)
            : Entry(std::move(iIds)), fMaker(std::move(iMaker))
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
                this->ids.front(), [this]() -> int { return exitService(); }, eIxlaNoInstance);
        }

        void endMembers() noexcept override
        {
            if (fService)
            {
                static_cast<PExitOwner&>(*fService).endMembers();
            }
        }

        void release() noexcept override
        {
            fService.clear();
        }

        IBase* instance(unsigned int iIndex) const noexcept override
        {
            return fService ? fService->asInterface(iIndex) : nullptr;
        }

    private:
        int exitService()
        {
            if (fService)
            {
                endMembers();
                fService->onExit();
            }
            return eIxlaOk;
        }

        TMaker fMaker;
        PBaseptr<TService> fService;
    };

    const Entry* search(const PLiteral& iId, unsigned int& oIndex) const noexcept
    {
        for (const std::unique_ptr<Entry>& entry : fEntries)
        {
            for (oIndex = 0; oIndex < entry->ids.size(); ++oIndex)
            {
                if (iId == entry->ids[oIndex])
                {
                    return entry.get();
                }
            }
        }
        return nullptr;
    }

    std::vector<std::unique_ptr<Entry>> fEntries;
    unsigned int fIdCount; ///< of all entries
    std::atomic<int> fState;
};

#endif
