// SPDX-License-Identifier: MIT
// ixlaReported: keeps exceptions inside, and tells the log what they said.
#ifndef IXLAL_SDK_REPORTED_H
#define IXLAL_SDK_REPORTED_H

#include "ILogger.h"
#include "Ixla.h"
#include "helpers/ServiceLookup.h"
#include "portinglayer/PThreadEnd.h"

#include <exception>
#include <new>

/// Writes what an exception said to the plugins' log, behind iWhere. Without a core, or without the
/// memory for it, there is no line. [any thread]
inline void ixlaReportException(const PLiteral& iWhere, const char* iText) noexcept
{
    const PBaseptr<ILogger> logger = ixlaService<ILogger>();
    if (logger)
    {
        // A log that takes no line leaves nobody else to tell.
        (void)logger->error(0, L"[%ls] Exception: %s", iWhere.ptr(), iText);
    }
}

/// Runs iFunction, which returns a result code, and returns its result. An exception becomes -501
/// when memory is lacking and iOtherwise when it is any other, and is written to the plugins' log.
/// Only a thread that ends inside iFunction passes through. [any thread]
template <class TFunction>
IXLA_PASSES_THREAD_END int ixlaReported(const PLiteral& iWhere, const TFunction& iFunction,
                                        int iOtherwise)
{
    try
    {
        return iFunction();
    }
    catch (const std::bad_alloc& problem)
    {
        ixlaReportException(iWhere, problem.what());
        return eIxlaNoMemory;
    }
    catch (const std::exception& problem)
    {
        ixlaReportException(iWhere, problem.what());
    }
    catch (PThreadEnd&)
    {
        passThreadEnd();
    }
    catch (...)
    {
        ixlaReportException(iWhere, "not a std::exception");
    }
    return iOtherwise;
}

#endif
