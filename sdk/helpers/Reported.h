// SPDX-License-Identifier: MIT
/// @file
/// ixlaReported: converts exceptions to result codes and logs them.
#ifndef IXLAL_SDK_REPORTED_H
#define IXLAL_SDK_REPORTED_H

#include "ILogger.h"
#include "Ixla.h"
#include "helpers/ServiceLookup.h"
#include "portinglayer/PThreadEnd.h"

#include <exception>
#include <new>

/// Writes the text of an exception to the plugins' log, after iWhere. Writes nothing without a
/// core, or for lack of memory. [any thread]
inline void ixlaReportException(const PLiteral& iWhere, const char* iText) noexcept
{
    const PBaseptr<ILogger> logger = ixlaService<ILogger>();
    if (logger)
    {
        // There is no other place to report a failing log.
        (void)logger->error(0, L"[%ls] Exception: %s", iWhere.ptr(), iText);
    }
}

/// Runs iFunction, which returns a result code, and returns its result. std::bad_alloc becomes
/// -501, any other exception iOtherwise; both are written to the plugins' log. Only the unwinding
/// of a thread that ends inside iFunction is passed on. [any thread]
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
