// SPDX-License-Identifier: MIT
// PReaderLock: lets many threads read data that is rarely changed.
#ifndef IXLAL_PREADERLOCK_H
#define IXLAL_PREADERLOCK_H

#include "core/PThreadStripe.h"
#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PFork.h"
#include "portinglayer/PMutex.h"

#include <atomic>

/// Readers count themselves in one of several counters, each on a cache line of its own, so that
/// readers on different processors share nothing that they write. A reader never waits: while the
/// lock is closed it is refused, and gets its turn through the mutex that the writer holds.
///
/// One writer at a time closes the lock; a mutex of the user ensures that. It waits until all
/// readers have left. A thread inside does not enter or close the lock again, waits for nothing,
/// and calls no foreign code.
class PReaderLock
{
    /// The counter of some of the threads.
    struct Stripe
    {
        std::atomic<unsigned int> readers{0}; ///< for its order see enter
        char apart[60];
    };

public:
    PReaderLock() noexcept = default;

    PReaderLock(const PReaderLock&) = delete;
    PReaderLock& operator=(const PReaderLock&) = delete;

    /// Opens the lock for readers of this process. Before, all are refused. In a forked child the
    /// lock refuses readers, and closing it does not wait.
    void init() noexcept;

    /// A reader, until the end of its scope.
    class Reader
    {
    public:
        explicit Reader(PReaderLock& ioLock) noexcept
            : fLock(ioLock), fStripe(ioLock.stripe()), fInside(ioLock.enter(fStripe))
        {
        }

        ~Reader()
        {
            if (fInside)
            {
                fLock.leave(fStripe);
            }
        }

        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;

        /// Whether the reader may read.
        bool isInside() const noexcept
        {
            return fInside;
        }

    private:
        PReaderLock& fLock;
        Stripe& fStripe;
        const bool fInside;
    };

    /// The writer, until the end of its scope.
    class Writer
    {
    public:
        explicit Writer(PReaderLock& ioLock) noexcept : fLock(ioLock)
        {
            fLock.close();
        }

        ~Writer()
        {
            fLock.fClosed = false;
        }

        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;

    private:
        PReaderLock& fLock;
    };

private:
    static constexpr unsigned int kStripes = 16;

    Stripe& stripe() noexcept
    {
        return fStripes[PThreadStripe::index() % kStripes];
    }

    // A reader counts itself and then looks at the mark, the writer sets the mark and then looks at
    // the counters. In the one order of these four, at least one sees the other.
    bool enter(Stripe& ioStripe) noexcept
    {
        if (!isOwn())
        {
            return false;
        }
        ioStripe.readers.fetch_add(1);
        if (!fClosed.load())
        {
            return true;
        }
        withdraw(ioStripe);
        return false;
    }

    void leave(Stripe& ioStripe) noexcept
    {
        ioStripe.readers.fetch_sub(1);
        if (fClosed.load())
        {
            wakeWriter();
        }
    }

    /// Whether this process has opened the lock.
    bool isOwn() const noexcept
    {
        return fGeneration == PFork::generation();
    }

    [[gnu::cold]] void withdraw(Stripe& ioStripe) noexcept;
    void close() noexcept;
    bool hasReaders() const noexcept;
    [[gnu::cold]] void awaitReaders() noexcept;
    [[gnu::cold]] void wakeWriter() noexcept;

    // A mutex directly before this lock and the mark take no more lines than the mutex alone. The
    // mark, which readers load, is on another line than their counters.
    static_assert(sizeof(PMutex) + sizeof(PConditionalVar) >= sizeof(Stripe));
    std::atomic<bool> fClosed{false}; ///< for its order see enter
    unsigned short fGeneration = 0;   ///< of the process that opened the lock
    PMutex fMutex;
    PConditionalVar fLeft; ///< signalled when a reader leaves the closed lock
    Stripe fStripes[kStripes] = {};
};

#endif
