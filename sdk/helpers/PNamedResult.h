// SPDX-License-Identifier: MIT
// PNamedResult: a result code, and after a failure the name of what failed.
#ifndef IXLAL_SDK_PNAMEDRESULT_H
#define IXLAL_SDK_PNAMEDRESULT_H

#include "ILogger.h"
#include "Ixla.h"
#include "PGuarded.h"
#include "helpers/ResultText.h"
#include "helpers/ServiceLookup.h"
#include "helpers/Text.h"
#include "portinglayer/PString.h"

#include <string>

/// The result of one of several steps: 0, or the code and the name of the step that failed.
class PNamedResult
{
public:
    /// Success; it has no name.
    PNamedResult() noexcept : fCode(eIxlaOk)
    {
    }

    /// The result iCode of the step iName. iNote is a detail that text() shows after the name. For
    /// lack of memory the name or the note is empty.
    PNamedResult(int iCode, const PLiteral& iName, const PLiteral& iNote = PLiteral()) noexcept
        : fCode(iCode)
    {
        if (iCode != eIxlaOk)
        {
            // The code alone is still useful.
            (void)fName.set(iName);
            (void)fNote.set(iNote);
        }
    }

    /// 0 or the code of the failure.
    int code() const noexcept
    {
        return fCode;
    }

    /// What failed: an interface ID, a key, a log or a step. Empty after a success.
    const PString& name() const noexcept
    {
        return fName;
    }

    /// Name, note, code and meaning: "com.example.store: -2001 (eIxlaUnknownInterface: no plugin
    /// offers the interface ID)". Throws std::bad_alloc.
    std::string text() const
    {
        return ixlaNarrow(fName) + ixlaNarrow(fNote) + ": " + ixlaResultText(fCode);
    }

    /// Returns the code, and writes a failure to the plugins' log, after iWhere: "[queue]
    /// com.example.store: -2001 (...)". Writes nothing without a core, or for lack of memory.
    int logged(const PLiteral& iWhere) const noexcept
    {
        if (fCode != eIxlaOk)
        {
            // There is no other place to report a failing log.
            (void)ixlaGuarded([&]() -> int { return write(iWhere); });
        }
        return fCode;
    }

private:
    int write(const PLiteral& iWhere) const
    {
        const PBaseptr<ILogger> logger = ixlaService<ILogger>();
        return logger ? logger->error(0, L"[%ls] %s", iWhere.ptr(), text().c_str())
                      : eIxlaNoInstance;
    }

    int fCode;
    PString fName;
    PString fNote;
};

#endif
