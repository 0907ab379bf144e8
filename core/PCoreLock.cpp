// SPDX-License-Identifier: MIT
#include "core/PCoreLock.h"

#include "Ixla.h"
#include "logger/PLogger.h"

int PCoreLock::init(PLogger* iLogger) noexcept
{
    int result = fMutex.init(true);
    if (result != 0)
    {
        PLogger::error(iLogger, 0, L"[startFlow] Failed to init mutex lock err: %d", result);
        return eIxlaMutexInitFailed;
    }
    result = fCondVar.init();
    if (result != 0)
    {
        PLogger::error(iLogger, 0, L"[startFlow] Failed to init cond var err: %d", result);
        return eIxlaCondVarInitFailed;
    }
    return eIxlaOk;
}

void PCoreLock::close(PLogger* iLogger) noexcept
{
    int result = fMutex.close();
    if (result != 0)
    {
        PLogger::error(iLogger, 0, L"[~PCore] Failed to close mutex lock err: %d", result);
    }
    result = fCondVar.close();
    if (result != 0)
    {
        PLogger::error(iLogger, 0, L"[~PCore] Failed to close cond var err: %d", result);
    }
}
