// SPDX-License-Identifier: MIT
#include "soak/SetWorker.h"

#include "IConfigChanged.h"
#include "soak/ReadWorker.h"
#include "support/Texts.h"

namespace
{
constexpr wchar_t kKey[] = L"key";
} // namespace

void SetWorker::begin()
{
    fId = ownName(L"soak.set");
    fTopic = ownName(L"soak.changed");
    fIsSet = false;
    expect("load by ID", 0, fManager->loadByID(fId.c_str(), fConfig));
}

void SetWorker::step()
{
    switch (pick(8))
    {
    case 0:
        return fListener ? unlisten() : listen();
    case 1:
        return setOwnAttribute();
    case 2:
    case 3:
        return removeOwn();
    case 4:
    case 5:
        return setShared();
    default:
        return setOwn();
    }
}

void SetWorker::end()
{
    if (fListener)
    {
        unlisten();
    }
    fConfig.clear();
}

void SetWorker::listen()
{
    fListener = SoakListener::make([this](const PLiteral&, IBase* iParam, int) { note(iParam); });
    expect("subscribe", 0, fDispatcher->addListener(fTopic.c_str(), fListener.get()));
    expect("add change listener", 0, fManager->addListener(fId.c_str(), fTopic.c_str()));
    expect("add it twice", -512, fManager->addListener(fId.c_str(), fTopic.c_str()));
}

void SetWorker::unlisten()
{
    expect("remove change listener", 0, fManager->removeListener(fId.c_str(), fTopic.c_str()));
    expect("remove it twice", -504, fManager->removeListener(fId.c_str(), fTopic.c_str()));
    expect("unsubscribe", 0, fDispatcher->removeListener(fTopic.c_str(), fListener.get()));
    fListener.clear();
}

void SetWorker::note(IBase* iParam)
{
    const IConfigChanged& event = *static_cast<IConfigChanged*>(iParam);
    PString id;
    PString attribute;
    event.getID(id);
    event.getAttribute(attribute);
    fHeard += std::wstring(id.ptr()) + L"/" + attribute.ptr() + L";";
}

void SetWorker::setOwn()
{
    fHeard.clear();
    const std::wstring text = L"text " + std::to_wstring(fCount++);
    expect("set", 0, fManager->setString(fId.c_str(), kKey, text.c_str()));
    fText = fIsSet ? fText : text;
    fIsSet = true;
    check("change event", fHeard == (fListener ? fId + L"/;" : L""), "events are others");
    PString read;
    expect("read", 0, fConfig->getString(kKey, read));
    check("first run-time value", read == PLiteral(fText.c_str()), narrow(read));
}

void SetWorker::setOwnAttribute()
{
    fHeard.clear();
    expect("set attribute", fIsSet ? 0 : -3002,
           fManager->setAttrInt32(fId.c_str(), kKey, L"unit", 3));
    check("change event", fHeard == (fListener && fIsSet ? fId + L"/unit;" : L""),
          "events are others");
}

void SetWorker::removeOwn()
{
    fHeard.clear();
    expect("remove", 0, fManager->removeSetKey(fId.c_str(), kKey));
    fIsSet = false;
    check("change event", fHeard.empty(), "event of a removal");
    PString read;
    expect("read a missing key", -504, fConfig->getString(kKey, read));
}

void SetWorker::setShared()
{
    const std::wstring text = ReadWorker::kRunTimeText + std::to_wstring(pick(1000));
    expect("set", 0, fManager->setString(ReadWorker::kId, ReadWorker::kFreeKey, text.c_str()));
    const int result = fManager->setAttrBool(ReadWorker::kId, ReadWorker::kFreeKey, L"const", true);
    check("set attribute", result == 0 || result == -3002, "result " + std::to_string(result));
    expect("remove", 0, fManager->removeSetKey(ReadWorker::kId, ReadWorker::kFreeKey));
}
