// SPDX-License-Identifier: MIT
// PWatchedFigure: one figure of the machine with its threshold and the highest value seen.
#ifndef IXLAL_EXAMPLES_PWATCHEDFIGURE_H
#define IXLAL_EXAMPLES_PWATCHEDFIGURE_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "ILogger.h"
#include "PBaseptr.h"

#include <atomic>

/// The highest values may be asked for from any thread; everything else belongs to one thread at
/// a time.
class PWatchedFigure
{
public:
    /// iName stands before every line about the figure. The threshold is read from iLimitKey, the
    /// highest value kept under iHighestKey; both keys belong to the configuration kAlarmId.
    PWatchedFigure(const wchar_t* iName, const wchar_t* iLimitKey, const wchar_t* iHighestKey);

    /// Reads the threshold and the highest value of the earlier runs, and tells the log.
    void load(IConfig& iConfig, ILogger& iLogger);

    /// Reads the threshold again after somebody set it, and tells the log what became of it.
    void reloadLimit(IConfig& iConfig, ILogger& iLogger);

    /// Whether iKey is the key of the threshold.
    bool isLimitKey(const PLiteral& iKey) const;

    /// Compares iValue with the threshold and keeps it in the store if it is the highest so far.
    /// Returns true when it reached the threshold.
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
