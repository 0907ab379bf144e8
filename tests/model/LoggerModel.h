// SPDX-License-Identifier: MIT
// LoggerModel: the expected behaviour of the logging service: named loggers, their cache, levels
// and lines.
#ifndef IXLAL_TESTS_LOGGERMODEL_H
#define IXLAL_TESTS_LOGGERMODEL_H

#include "model/Fault.h"
#include "model/Step.h"

#include <array>
#include <map>
#include <memory>
#include <string>

class LoggerModel
{
public:
    LoggerModel(int iLevel, bool iEnabled, Fault iFault);

    /// Starts a new logging service; lines already written stay.
    void restart();

    void getLogger(unsigned int iSlot, const std::string& iName);
    void getDefault(unsigned int iSlot);

    /// A copy of a holder keeps the logger in the cache; a new holder of the pointer does not.
    void copy(unsigned int iSlot, unsigned int iFrom);
    void wrap(unsigned int iSlot, unsigned int iFrom);
    void drop(unsigned int iSlot);
    bool holds(unsigned int iSlot) const;

    void setLevel(unsigned int iSlot, int iLevel);
    void write(unsigned int iSlot, char iKind, int iLevel, const std::string& iText);

    /// The lines of a log, or "no file".
    std::string lines(const std::string& iName) const;

    /// For each slot the first slot with the same logger, "-" for none.
    std::string holders() const;

private:
    struct Logger
    {
        std::string name;
        int level;
    };

    /// A holder group: a holder and all its copies.
    typedef std::shared_ptr<std::shared_ptr<Logger>> Holder;

    Holder make(const std::string& iName);
    void purge();

    const int fLevel;
    const bool fEnabled;
    const Fault fFault;
    std::map<std::string, Holder> fCache;
    Holder fDefault;
    std::array<Holder, Alphabet::kLoggers> fSlots;
    std::map<std::string, std::string> fLines;
};

#endif
