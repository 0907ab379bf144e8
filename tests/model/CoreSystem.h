// SPDX-License-Identifier: MIT
// CoreSystem: the real core and its services, used through their public interfaces.
#ifndef IXLAL_TESTS_CORESYSTEM_H
#define IXLAL_TESTS_CORESYSTEM_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "model/ModelListener.h"
#include "model/ModelSetup.h"
#include "model/Performer.h"
#include "support/CoreRun.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

class CoreSystem final : public Performer
{
public:
    explicit CoreSystem(bool iLogsEnabled);
    ~CoreSystem() override;

    const ModelSetup& setup() const;

protected:
    void take(const Step& iStep) override;

private:
    bool takeLoad(const Step& iStep);
    bool takeRead(const Step& iStep);
    bool takeSet(const Step& iStep);
    bool takeStore(const Step& iStep);
    bool takeEvent(const Step& iStep);
    bool takeLog(const Step& iStep);
    void takeOther(const Step& iStep);

    int loadByArgs(const Step& iStep, PBaseptr<IConfig>& oConfig);
    int appendByArgs(const Step& iStep, const PBaseptr<IConfig>& iConfig);
    void readText(const Step& iStep, IConfig& iConfig);
    void readAttribute(const Step& iStep, IConfig& iConfig);
    void tellStore(int iResult);
    void tellList(int iResult, const std::vector<PString>& iTexts);
    void tellReferences();
    void deliver(std::size_t iListener, const PLiteral& iTopic, IBase* iParam1, int iParam2);
    void getLogger(const Step& iStep);
    void writeLog(const Step& iStep);
    void readLog(const std::string& iName);
    void lookUp(const std::string& iId);
    IEventListener* listener(const Step& iStep) const;
    void writeFile(const std::string& iPath, const std::string& iText) const;
    void start();
    void stop();

    CoreRun fCore;
    ModelSetup fSetup;
    IConfigManager* fManager = nullptr;
    IEventDispatcher* fDispatcher = nullptr;
    ILogger* fLogger = nullptr;
    std::array<PBaseptr<IConfig>, Alphabet::kConfigs> fConfigs;
    std::array<PBaseptr<ILogger>, Alphabet::kLoggers> fLoggers;
    std::array<PBaseptr<ModelListener>, Alphabet::kListeners> fListeners;
    std::array<std::optional<Step>, Alphabet::kListeners> fReactions;
};

#endif
