// SPDX-License-Identifier: MIT
// The checks of a plugin inside a core.

#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "validate/PCheck.h"
#include "validate/PFailedCheck.h"
#include "validate/PTrial.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

namespace
{
constexpr int kThreads = 10;
constexpr wchar_t kUnknownId[] = L"com.example.nobody.offers.this";

std::string _quoted(const PLiteral& iId)
{
    return "\"" + ixlaNarrow(iId) + "\"";
}

/// The number of references that a request adds to an instance; other threads may change the count.
int _addedReferences(const PLiteral& iId, IBase& ioInstance)
{
    IBase* again = nullptr;
    const int before = ioInstance.incRef();
    (void)ixlaGetInstance(iId, again); // a failed request adds none
    const int after = ioInstance.incRef();
    ioInstance.decRef();
    ioInstance.decRef();
    return after - before - 1;
}

/// Repeats the measurement, because other threads may take references during it.
bool _keepsBorrowing(const PLiteral& iId, IBase& ioInstance)
{
    constexpr int kAttempts = 5;
    for (int i = 0; i < kAttempts; ++i)
    {
        if (_addedReferences(iId, ioInstance) <= 0)
        {
            return true;
        }
    }
    return false;
}

PVerdict _judgeUnknown(IPlugin& ioPlugin, const PLiteral& iId)
{
    IBase* instance = &ioPlugin;
    const int result = ioPlugin.getInstance(iId, instance);
    if (result != eIxlaUnknownInterface)
    {
        return PVerdict::fail("getInstance for " + _quoted(iId) + " returned " +
                                  ixlaResultText(result) + " instead of -2001",
                              "return eIxlaUnknownInterface for every ID that is not listed");
    }
    if (instance)
    {
        return PVerdict::fail("getInstance for " + _quoted(iId) +
                                  " returned -2001, but did not set the instance to null",
                              "set oInstance to null whenever there is no instance");
    }
    return PVerdict::pass("returns -2001 and null");
}

/// Starts threads at the same time.
class StartLine
{
public:
    explicit StartLine(int iThreads) : fMissing(iThreads)
    {
    }

    void wait()
    {
        std::unique_lock<std::mutex> lock(fMutex);
        if (--fMissing == 0)
        {
            fAllThere.notify_all();
        }
        fAllThere.wait(lock, [this] { return fMissing == 0; });
    }

private:
    std::mutex fMutex;
    std::condition_variable fAllThere;
    int fMissing; ///< guarded by fMutex
};

/// The results and instances of one thread, by ID.
struct Answers
{
    std::vector<int> results;
    std::vector<IBase*> instances;
};

void _askForAll(const std::vector<PString>& iIds, StartLine& ioLine, Answers& oAnswers)
{
    ioLine.wait();
    for (const PString& id : iIds)
    {
        IBase* instance = nullptr;
        oAnswers.results.push_back(ixlaGetInstance(id, instance));
        oAnswers.instances.push_back(instance);
    }
}

std::vector<Answers> _askAtOnce(const std::vector<PString>& iIds)
{
    std::vector<Answers> answers(kThreads);
    StartLine line(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (Answers& own : answers)
    {
        threads.emplace_back([&] { _askForAll(iIds, line, own); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    return answers;
}

PVerdict _judgeAnswers(const std::vector<PString>& iIds, const std::vector<Answers>& iAnswers)
{
    for (const Answers& answers : iAnswers)
    {
        for (std::size_t i = 0; i < iIds.size(); ++i)
        {
            if (answers.results[i] != eIxlaOk)
            {
                return PVerdict::fail("a thread that asked for " + _quoted(iIds[i]) + " got " +
                                          ixlaResultText(answers.results[i]),
                                      "make init and getInstance work on any thread");
            }
            if (answers.instances[i] != iAnswers.front().instances[i])
            {
                return PVerdict::fail(
                    "two threads got different instances of " + _quoted(iIds[i]),
                    "create the instances in init, and always return the same ones");
            }
        }
    }
    return PVerdict::pass("the same for " + std::to_string(kThreads) + " threads");
}
} // namespace

PVerdict checkInit(PTrial& ioTrial)
{
    ioTrial.startCore();
    const std::vector<IBase*> instances = ioTrial.initialise();
    ioTrial.phase("asking for the instances again");
    if (ioTrial.initialise() != instances)
    {
        return PVerdict::fail("a second request returned another instance",
                              "create the instances in init, and always return the same ones");
    }
    ioTrial.phase("counting references of the instances");
    const std::vector<PString> ids = ioTrial.registeredIds();
    for (std::size_t i = 0; i < ids.size(); ++i)
    {
        if (!_keepsBorrowing(ids[i], *instances[i]))
        {
            return PVerdict::fail(
                "getInstance adds a reference to the instance of " + _quoted(ids[i]),
                "return a borrowed pointer; the caller takes a reference if needed");
        }
    }
    return PVerdict::pass("initialises; " + std::to_string(ids.size()) +
                          (ids.size() == 1 ? " instance" : " instances"));
}

// Calls the plugin directly: the core would not pass the request to it.
PVerdict checkUnknownId(PTrial& ioTrial)
{
    ioTrial.startCore(false);
    IPlugin* const plugin = ioTrial.makePlugin();
    ioTrial.phase("initialising the plugin");
    const int result = plugin->init();
    if (result != eIxlaOk)
    {
        return PVerdict::fail("does not initialise outside of a core: " + ixlaResultText(result),
                              "do not request the plugin's own interfaces in init");
    }
    ioTrial.phase("asking for an unknown interface ID");
    PVerdict verdict = _judgeUnknown(*plugin, kUnknownId);
    return verdict.passed ? _judgeUnknown(*plugin, L"") : verdict;
}

PVerdict checkThreads(PTrial& ioTrial)
{
    ioTrial.startCore();
    const std::vector<PString> ids = ioTrial.registeredIds();
    ioTrial.phase("asking from ten threads at once");
    return ids.empty() ? PVerdict::pass("offers no interface")
                       : _judgeAnswers(ids, _askAtOnce(ids));
}

PVerdict checkStop(PTrial& ioTrial)
{
    PTestCore& core = ioTrial.startCore();
    ioTrial.initialise();
    ioTrial.phase("stopping the core");
    const auto begin = std::chrono::steady_clock::now();
    try
    {
        core.stop();
    }
    catch (const PTestError& problem)
    {
        return PVerdict::fail(problem.what(), "end threads when the core announces its exit, as "
                                              "PService::onExit does, and keep listeners short");
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    char text[64];
    (void)std::snprintf(text, sizeof text, "the core stops in %.2f s", taken.count());
    return PVerdict::pass(text);
}
