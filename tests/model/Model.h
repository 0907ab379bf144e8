// SPDX-License-Identifier: MIT
// Model: the expected behaviour of the three services, independent of their implementation.
#ifndef IXLAL_TESTS_MODEL_H
#define IXLAL_TESTS_MODEL_H

#include "model/ConfigModel.h"
#include "model/Fault.h"
#include "model/LoggerModel.h"
#include "model/ModelSetup.h"
#include "model/Performer.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

class Model final : public Performer
{
public:
    Model(const ModelSetup& iSetup, Fault iFault);

protected:
    void take(const Step& iStep) override;

private:
    typedef std::optional<ConfigModel::Config> Slot;

    bool takeLoad(const Step& iStep);
    bool takeRead(const Step& iStep);
    bool takeSet(const Step& iStep);
    bool takeStore(const Step& iStep);
    bool takeEvent(const Step& iStep);
    bool takeLog(const Step& iStep);
    void takeOther(const Step& iStep);

    void load(Slot& ioSlot, int iResult, const ConfigModel::Config& iConfig);
    void read(const Step& iStep, bool iAttribute, bool iTyped);
    void set(const Step& iStep, bool iAttribute, const std::string& iText);
    void store(const Step& iStep, bool iAttribute, const std::string& iText);
    void tellStore(int iResult);
    void subscribe(const Step& iStep);
    void unsubscribe(const Step& iStep);
    int send(const std::string& iTopic, const std::string& iEvent, int iNumber);
    void deliver(int iListener, const std::string& iTopic, const std::string& iEvent, int iNumber);
    void tellReferences();
    void restart();

    static std::string textOf(Type iType, long long iNumber);
    static std::string readTyped(Type iType, const std::string& iText, int& oResult);
    static std::string readNumber(Type iType, const std::string& iText, int& oResult);

    const ModelSetup& fSetup;
    const Fault fFault;
    ConfigModel fConfig;
    LoggerModel fLogs;
    std::array<Slot, Alphabet::kConfigs> fSlots;
    std::map<std::string, std::vector<int>> fSubscriptions;
    std::array<std::optional<Step>, Alphabet::kListeners> fReactions;
};

#endif
