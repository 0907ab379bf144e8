// SPDX-License-Identifier: MIT
// PWatchedFigure: one figure of the machine with its threshold and the highest value seen.
#ifndef IXLAL_EXAMPLES_PWATCHEDFIGURE_H
#define IXLAL_EXAMPLES_PWATCHEDFIGURE_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "ILogger.h"
#include "PBaseptr.h"

#include <atomic>

/// Any thread may read the highest values; everything else belongs to one thread at a time.
class PWatchedFigure
{
public:
    /// iName starts every log line about the figure. iLimitKey has the threshold, iHighestKey the
    /// highest value; both keys belong to the configuration kAlarmId.
    PWatchedFigure(const wchar_t* iName, const wchar_t* iLimitKey, const wchar_t* iHighestKey);

    /// Reads the threshold and the highest value of earlier runs, and logs both.
    void load(IConfig& iConfig, ILogger& iLogger);

    /// Reads the threshold again after a change, and logs the result.
    void reloadLimit(IConfig& iConfig, ILogger& iLogger);

    /// Whether iKey is the key of the threshold.
    bool isLimitKey(const PLiteral& iKey) const;

    /// Compares iValue with the threshold and stores it if it is the highest so far. Returns
    /// whether it has reached the threshold.
    bool check(int iValue, IConfigManager& iManager, ILogger& iLogger);

    int getHighest() const;
    int getEarlier() const;

private:
    bool reachesLimit(int iValue, ILogger& iLogger);
    void keepHighest(int iValue, IConfigManager& iManager, ILogger& iLogger);

    const PLiteral fName;
    const PLiteral fLimitKey;
    const PLiteral fHighestKey;
    bool fHasLimit = false;
    int fLimit = 0;
    bool fAboveLimit = false;
    std::atomic<int> fHighest{-1};
    std::atomic<int> fEarlier{-1};
};

#endif
