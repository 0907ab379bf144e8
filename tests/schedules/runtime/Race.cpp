// SPDX-License-Identifier: MIT
#include "Race.h"

#include "Costs.h"
#include "Heap.h"
#include "Memory.h"
#include "Scheduler.h"
#include "VectorClock.h"
#include "Verdict.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace schedules
{
namespace
{
constexpr std::size_t kPage = 4096;
constexpr std::size_t kWord = 4;
constexpr std::uint32_t kSharedReads = kMaxThreads - 1; ///< thread number of a set of readers

/// The last accesses to a byte, or to a word whose bytes were all accessed together.
struct Cell
{
    Epoch write;
    Epoch read; ///< of the last reader, or the number of a set of them
    Epoch atomicWrite;
    Epoch atomicRead;
};

struct Bytes
{
    Cell cells[kWord];
};

struct Word
{
    Cell whole;
    Bytes* bytes; ///< used instead once only a part of the word was accessed; null before
};

/// The cells of a page of memory.
struct Page
{
    Word words[kPage / kWord];
};

static_assert(sizeof(void*) == kWord, "the directory of pages covers a 32-bit address space");
Page* sPages[1u << 20];

VectorClock* sReaders[4096];
std::uint32_t sReaderCount;
bool sEnabled = true;

struct Range
{
    std::uintptr_t begin;
    std::uintptr_t end;
};
Range sExcluded[16];
unsigned sExcludedCount;
std::uintptr_t sWatched;

Word& _word(std::uintptr_t iAddress)
{
    Page*& page = sPages[iAddress / kPage];
    if (!page)
    {
        page = static_cast<Page*>(Memory::zeroed(sizeof(Page)));
    }
    return page->words[iAddress % kPage / kWord];
}

/// Gives each byte of a word its own cell.
void _split(Word& ioWord)
{
    ioWord.bytes = static_cast<Bytes*>(Memory::zeroed(sizeof(Bytes)));
    std::fill(ioWord.bytes->cells, ioWord.bytes->cells + kWord, ioWord.whole);
}

/// Calls iVisit with the cells of a part of a word, and the address of each.
template <class F>
void _eachCellOfWord(Word& ioWord, std::uintptr_t iAddress, std::size_t iSize, F iVisit)
{
    if (iSize == kWord && !ioWord.bytes)
    {
        iVisit(ioWord.whole, iAddress);
        return;
    }
    if (!ioWord.bytes)
    {
        _split(ioWord);
    }
    for (std::size_t i = 0; i < iSize; ++i)
    {
        iVisit(ioWord.bytes->cells[iAddress % kWord + i], iAddress + i);
    }
}

/// Calls iVisit with all cells of a range.
template <class F>
void _eachCell(std::uintptr_t iAddress, std::size_t iSize, F iVisit)
{
    for (std::size_t done = 0; done < iSize;)
    {
        const std::uintptr_t address = iAddress + done;
        const std::size_t size = std::min(iSize - done, kWord - address % kWord);
        _eachCellOfWord(_word(address), address, size, iVisit);
        done += size;
    }
}

[[noreturn]] void _report(std::uintptr_t iAddress, const char* iThis, const char* iOther,
                          unsigned iThread)
{
    char text[200];
    std::snprintf(
        text, sizeof(text), "race at %p: %s by thread %u, not ordered with %s by thread %u",
        reinterpret_cast<void*>(iAddress), iThis, Scheduler::current()->id, iOther, iThread);
    Verdict::failAt(Outcome::eRace, text, iAddress);
}

void _expectOrdered(const Thread& iThread, Epoch iEarlier, std::uintptr_t iAddress,
                    const char* iThis, const char* iOther)
{
    if (!iEarlier.isNone() && !iThread.clock.covers(iEarlier))
    {
        _report(iAddress, iThis, iOther, iEarlier.thread());
    }
}

void _expectReadsOrdered(const Thread& iThread, const Cell& iCell, std::uintptr_t iAddress,
                         const char* iThis)
{
    if (iCell.read.thread() != kSharedReads)
    {
        _expectOrdered(iThread, iCell.read, iAddress, iThis, "a read");
        return;
    }
    const VectorClock& readers = *sReaders[iCell.read.time()];
    for (unsigned i = 0; i < kSharedReads; ++i)
    {
        if (readers.times[i] > iThread.clock.times[i])
        {
            _report(iAddress, iThis, "a read", i);
        }
    }
}

void _addReader(Cell& ioCell, const Thread& iThread)
{
    if (ioCell.read.thread() == kSharedReads)
    {
        sReaders[ioCell.read.time()]->times[iThread.id] = iThread.clock.times[iThread.id];
        return;
    }
    if (ioCell.read.isNone() || ioCell.read.thread() == iThread.id ||
        iThread.clock.covers(ioCell.read) || sReaderCount == std::size(sReaders))
    {
        ioCell.read = iThread.epoch();
        return;
    }
    VectorClock* readers = static_cast<VectorClock*>(Memory::zeroed(sizeof(VectorClock)));
    readers->times[ioCell.read.thread()] = ioCell.read.time();
    readers->times[iThread.id] = iThread.clock.times[iThread.id];
    sReaders[sReaderCount] = readers;
    ioCell.read = Epoch(kSharedReads, sReaderCount++);
}

void _checkLive(std::uintptr_t iAddress, std::size_t iSize, const char* iWhat)
{
    if (!Heap::owns(reinterpret_cast<void*>(iAddress)) || Heap::isLive(iAddress, iSize))
    {
        return;
    }
    char text[160];
    std::snprintf(text, sizeof(text), "%s of %u bytes at %p, in memory that is not allocated",
                  iWhat, static_cast<unsigned>(iSize), reinterpret_cast<void*>(iAddress));
    Verdict::failAt(Outcome::eUseAfterFree, text, iAddress);
}

/// The calling thread, if an access by it is checked.
Thread* _checked(std::size_t iSize)
{
    Thread* thread = Scheduler::current();
    return thread && !thread->finishing && iSize != 0 ? thread : nullptr;
}

/// Calls iAccess with the calling thread and each cell.
template <class F>
void _accessHere(Thread& ioThread, std::uintptr_t iAddress, std::size_t iSize, const char* iWhat,
                 F iAccess)
{
    _checkLive(iAddress, iSize, iWhat);
    if (sWatched >= iAddress && sWatched < iAddress + iSize)
    {
        Verdict::note(ioThread, iWhat[0] == 'w' ? Op::eStore : Op::eLoad, iAddress);
    }
    if (!sEnabled)
    {
        return;
    }
    const Epoch now = ioThread.epoch();
    _eachCell(iAddress, iSize,
              [&](Cell& ioCell, std::uintptr_t iByte) { iAccess(ioThread, now, ioCell, iByte); });
}

template <class F>
void _access(std::uintptr_t iAddress, std::size_t iSize, const char* iWhat, std::uintptr_t iFrom,
             F iAccess)
{
    if (Thread* thread = _checked(iSize))
    {
        const Scheduler::Location location(*thread, iFrom);
        _accessHere(*thread, iAddress, iSize, iWhat, iAccess);
    }
}

void _readAtomically(const Thread& iThread, Epoch iNow, Cell& ioCell, std::uintptr_t iByte)
{
    _expectOrdered(iThread, ioCell.write, iByte, "an atomic read", "a write");
    ioCell.atomicRead = iNow;
}

/// Whether anything accessed the page of this address so far.
bool _isTouched(std::uintptr_t iAddress)
{
    return sPages[iAddress / kPage] != nullptr;
}

void _expectReleasable(const Thread& iThread, const Cell& iCell, std::uintptr_t iAddress)
{
    _expectOrdered(iThread, iCell.write, iAddress, "the release", "a write");
    _expectReadsOrdered(iThread, iCell, iAddress, "the release");
    _expectOrdered(iThread, iCell.atomicWrite, iAddress, "the release", "an atomic write");
    _expectOrdered(iThread, iCell.atomicRead, iAddress, "the release", "an atomic read");
}
} // namespace

void Race::read(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom)
{
    _access(iAddress, iSize, "read", iFrom,
            [](const Thread& iThread, Epoch iNow, Cell& ioCell, std::uintptr_t iByte)
            {
                if (ioCell.read == iNow)
                {
                    return;
                }
                _expectOrdered(iThread, ioCell.write, iByte, "a read", "a write");
                _expectOrdered(iThread, ioCell.atomicWrite, iByte, "a read", "an atomic write");
                _addReader(ioCell, iThread);
            });
}

void Race::write(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom)
{
    _access(iAddress, iSize, "write", iFrom,
            [](const Thread& iThread, Epoch iNow, Cell& ioCell, std::uintptr_t iByte)
            {
                Costs::wrote(iThread, iByte);
                if (ioCell.write == iNow && ioCell.read.isNone())
                {
                    return;
                }
                _expectOrdered(iThread, ioCell.write, iByte, "a write", "a write");
                _expectReadsOrdered(iThread, ioCell, iByte, "a write");
                _expectOrdered(iThread, ioCell.atomicWrite, iByte, "a write", "an atomic write");
                _expectOrdered(iThread, ioCell.atomicRead, iByte, "a write", "an atomic read");
                ioCell.write = iNow;
                ioCell.read = Epoch();
            });
}

void Race::atomicRead(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom)
{
    _access(iAddress, iSize, "atomic read", iFrom, _readAtomically);
}

void Race::use(const volatile void* iObject)
{
    if (Thread* thread = _checked(kWord))
    {
        _accessHere(*thread, reinterpret_cast<std::uintptr_t>(iObject), kWord, "use",
                    _readAtomically);
    }
}

void Race::atomicWrite(std::uintptr_t iAddress, std::size_t iSize, std::uintptr_t iFrom)
{
    _access(iAddress, iSize, "write, atomic,", iFrom,
            [](const Thread& iThread, Epoch iNow, Cell& ioCell, std::uintptr_t iByte)
            {
                _expectOrdered(iThread, ioCell.write, iByte, "an atomic write", "a write");
                _expectReadsOrdered(iThread, ioCell, iByte, "an atomic write");
                ioCell.atomicWrite = iNow;
            });
}

void Race::released(std::uintptr_t iAddress, std::size_t iSize)
{
    Thread* thread = Scheduler::current();
    if (!sEnabled || !thread || thread->finishing)
    {
        return;
    }
    // What is beyond the end, up to the next word, belongs to no other memory.
    for (std::uintptr_t word = iAddress; word < iAddress + iSize; word += kWord)
    {
        if (!_isTouched(word))
        {
            word |= kPage - kWord;
            continue;
        }
        _eachCellOfWord(_word(word), word, kWord,
                        [&](const Cell& iCell, std::uintptr_t iByte)
                        { _expectReleasable(*thread, iCell, iByte); });
    }
}

void Race::forget(std::uintptr_t iAddress, std::size_t iSize)
{
    for (std::uintptr_t page = iAddress / kPage; page <= (iAddress + iSize - 1) / kPage; ++page)
    {
        sPages[page] = nullptr;
    }
}

void Race::exclude(const void* iBegin, std::size_t iSize)
{
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(iBegin);
    if (sExcludedCount < std::size(sExcluded))
    {
        sExcluded[sExcludedCount++] = Range{begin, begin + iSize};
    }
}

bool Race::isExcluded(std::uintptr_t iAddress)
{
    for (unsigned i = 0; i < sExcludedCount; ++i)
    {
        if (iAddress >= sExcluded[i].begin && iAddress < sExcluded[i].end)
        {
            return true;
        }
    }
    return false;
}

void Race::enable(bool iEnable)
{
    sEnabled = iEnable;
}

void Race::watch(std::uintptr_t iAddress)
{
    sWatched = iAddress;
}
} // namespace schedules
