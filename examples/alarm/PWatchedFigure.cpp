// SPDX-License-Identifier: MIT
#include "alarm/PWatchedFigure.h"

#include "Ixla.h"
#include "shared/IAlarm.h"

PWatchedFigure::PWatchedFigure(const wchar_t* iName, const wchar_t* iLimitKey,
                               const wchar_t* iHighestKey)
    : fName(iName), fLimitKey(iLimitKey), fHighestKey(iHighestKey)
{
}

void PWatchedFigure::load(IConfig& iConfig, ILogger& iLogger)
{
    fHasLimit = iConfig.getInt32(fLimitKey, fLimit) == eIxlaOk;
    if (fHasLimit)
    {
        iLogger.info(0, L"[alarm] %ls: threshold is %d", fName.ptr(), fLimit);
    }
    else
    {
        iLogger.error(0, L"[alarm] %ls: no threshold", fName.ptr());
    }

    int highest = 0;
    if (iConfig.getInt32(fHighestKey, highest) != eIxlaOk)
    {
        iLogger.info(0, L"[alarm] %ls: no highest value of earlier runs", fName.ptr());
        return;
    }
    fHighest = highest;
    fEarlier = highest;
    iLogger.info(0, L"[alarm] %ls: highest value of earlier runs is %d", fName.ptr(), highest);
}

void PWatchedFigure::reloadLimit(IConfig& iConfig, ILogger& iLogger)
{
    int limit = 0;
    const int result = iConfig.getInt32(fLimitKey, limit);
    if (result != eIxlaOk)
    {
        iLogger.error(0, L"[alarm] %ls: new threshold is unusable, result: %d", fName.ptr(),
                      result);
        return;
    }
    if (fHasLimit && limit == fLimit)
    {
        iLogger.info(0, L"[alarm] %ls: threshold was set at run time and stays %d", fName.ptr(),
                     limit);
        return;
    }
    iLogger.info(0, L"[alarm] %ls: threshold was %d and is now %d", fName.ptr(), fLimit, limit);
    fHasLimit = true;
    fLimit = limit;
}

bool PWatchedFigure::isLimitKey(const PLiteral& iKey) const
{
    return iKey == fLimitKey;
}

bool PWatchedFigure::check(int iValue, IConfigManager& iManager, ILogger& iLogger)
{
    keepHighest(iValue, iManager, iLogger);
    return reachesLimit(iValue, iLogger);
}

bool PWatchedFigure::reachesLimit(int iValue, ILogger& iLogger)
{
    const bool reached = fHasLimit && iValue >= fLimit;
    if (reached)
    {
        iLogger.info(0, L"[alarm] %ls: ALARM, %d has reached %d", fName.ptr(), iValue, fLimit);
    }
    else if (fAboveLimit)
    {
        iLogger.info(0, L"[alarm] %ls: quiet again at %d", fName.ptr(), iValue);
    }
    fAboveLimit = reached;
    return reached;
}

void PWatchedFigure::keepHighest(int iValue, IConfigManager& iManager, ILogger& iLogger)
{
    if (iValue <= fHighest)
    {
        return;
    }
    fHighest = iValue;
    const int result = iManager.storeInt32(kAlarmId, fHighestKey, iValue);
    if (result != eIxlaOk)
    {
        iLogger.error(0, L"[alarm] %ls: highest value %d not stored, result: %d", fName.ptr(),
                      iValue, result);
    }
}

int PWatchedFigure::getHighest() const
{
    return fHighest;
}

int PWatchedFigure::getEarlier() const
{
    return fEarlier;
}
