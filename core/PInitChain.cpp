// SPDX-License-Identifier: MIT
#include "core/PInitChain.h"

#include "PGuarded.h"
#include "core/PCorePlugin.h"
#include "core/PInitWait.h"

#include <algorithm>
#include <cwchar>

PInitChain::PInitChain(const std::vector<PCorePlugin*>& iRecords, const PInitWait* iWaits) noexcept
    : fRecords(iRecords), fWaits(iWaits), fIsCircle(false)
{
}

const wchar_t* PInitChain::describeWait(unsigned long iThreadId,
                                        const PCorePlugin& iTarget) noexcept
{
    return describe([&] { tellWait(iThreadId, iTarget); });
}

const wchar_t* PInitChain::describeLoop(unsigned long iThreadId,
                                        const PCorePlugin& iTarget) noexcept
{
    return describe([&] { tellLoop(iThreadId, iTarget); });
}

template <class TTell>
const wchar_t* PInitChain::describe(const TTell& iTell) noexcept
{
    fText.clear();
    fIsCircle = false;
    const int result = ixlaGuarded(
        [&]
        {
            iTell();
            return eIxlaOk;
        });
    return result == eIxlaOk ? fText.ptr() : L"no memory to say for whom";
}

void PInitChain::tellWait(unsigned long iThreadId, const PCorePlugin& iTarget)
{
    appendThread(iThreadId);
    if (const PCorePlugin* const outermost = findInit(iThreadId, 0))
    {
        appendInits(*outermost);
        fText += L" and";
    }
    fText += L" waits for ";
    appendName(iTarget);
    followFrom(iThreadId, iTarget);
}

void PInitChain::tellLoop(unsigned long iThreadId, const PCorePlugin& iTarget)
{
    appendThread(iThreadId);
    appendInits(iTarget);
    fText += L", which asks for ";
    appendName(iTarget);
    closeCircle();
}

void PInitChain::followFrom(unsigned long iThreadId, const PCorePlugin& iTarget)
{
    std::vector<const PCorePlugin*> targets;
    const PCorePlugin* target = &iTarget;
    while (target->fInitState == PCorePlugin::eInitialising)
    {
        targets.push_back(target);
        fText += L", which ";
        appendThread(target->fInitThreadId);
        fText += L" initialises";
        appendInnerInits(*target);
        const PInitWait* const wait = PInitWait::find(fWaits, target->fInitThreadId);
        if (!wait)
        {
            return;
        }
        target = &wait->record();
        fText += L", which waits for ";
        appendName(*target);
        const bool isKnown = std::find(targets.begin(), targets.end(), target) != targets.end();
        if (isKnown || target->fInitThreadId == iThreadId)
        {
            closeCircle();
            return;
        }
    }
}

void PInitChain::closeCircle()
{
    fText += L" (circle)";
    fIsCircle = true;
}

/// The thread's first initialisation in progress that started after that of order iAfter, or null.
const PCorePlugin* PInitChain::findInit(unsigned long iThreadId, unsigned int iAfter) const
{
    const PCorePlugin* found = nullptr;
    for (const PCorePlugin* const record : fRecords)
    {
        const bool isCandidate = record->fInitState == PCorePlugin::eInitialising &&
                                 record->fInitThreadId == iThreadId && record->fInitOrder > iAfter;
        if (isCandidate && (!found || record->fInitOrder < found->fInitOrder))
        {
            found = record;
        }
    }
    return found;
}

void PInitChain::appendThread(unsigned long iThreadId)
{
    wchar_t text[sizeof("thread 0x") + 2 * sizeof(iThreadId)];
    if (std::swprintf(text, sizeof(text) / sizeof(text[0]), L"thread 0x%lx", iThreadId) > 0)
    {
        fText += text;
    }
}

/// Appends the file name of the library, or the first interface of a built-in plugin.
void PInitChain::appendName(const PCorePlugin& iRecord)
{
    if (!iRecord.fLibrary)
    {
        fText += iRecord.fInterfaceCount > 0 ? iRecord.fInterfaceIDs.get()[0].ptr()
                                             : L"a built-in plugin";
        return;
    }
    fText += iRecord.fileName();
}

void PInitChain::appendInits(const PCorePlugin& iOutermost)
{
    fText += L" initialises ";
    appendName(iOutermost);
    appendInnerInits(iOutermost);
}

/// Appends the initialisations that the initialising thread of iRecord has started since then.
void PInitChain::appendInnerInits(const PCorePlugin& iRecord)
{
    const wchar_t* separator = L" (inside it: ";
    const PCorePlugin* inner = &iRecord;
    while ((inner = findInit(iRecord.fInitThreadId, inner->fInitOrder)) != nullptr)
    {
        fText += separator;
        appendName(*inner);
        separator = L", ";
    }
    if (*separator == L',')
    {
        fText += L")";
    }
}
