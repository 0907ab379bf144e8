// SPDX-License-Identifier: MIT
// PTestCore: a real core in a temporary directory, for one test.
#ifndef IXLAL_SDK_PTESTCORE_H
#define IXLAL_SDK_PTESTCORE_H

#include "IEventDispatcher.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/ResultText.h"
#include "helpers/ServiceLookup.h"
#include "helpers/Text.h"
#include "testkit/PEventRecorder.h"
#include "testkit/PLinkedPlugin.h"
#include "testkit/PTestDirectory.h"
#include "testkit/PTestError.h"
#include "testkit/PTestLog.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Starts a core in a temporary directory, with the plugins and the configuration of a test. Always
/// stops it and removes the directory, also when the test throws.
///
///     PTestCore core;
///     core.addPlugin("build/libgreeter.so");
///     core.configure("com.example.greeter", "greeting = Good morning\n");
///     core.start();
///     const auto greeter = core.service<IGreeter>(kGreeterId);
///     PEventRecorder& greeted = core.record(kGreetedTopic);
///
/// A process has one core at a time, so start() fails while another one runs. Release the objects
/// of services before stop(), and so before the PTestCore is destroyed: declare it first.
///
/// The directory has plugins/, config/, log/, the core log core.log and the store config/store.txt.
/// Libraries are not closed at the stop, because that is faster; set "core.free.plugins.lib" to
/// "true" to test that they can be closed. Operations throw PTestError unless their comment says
/// otherwise. One thread uses a PTestCore.
class PTestCore
{
public:
    PTestCore()
        : fArguments({{"core.log.level", "0"},
                      {"core.plugins.log.enable", "true"},
                      {"core.free.plugins.lib", "false"},
                      {"core.notify.exit.timeout", "5"}})
    {
        for (const char* name : {"plugins", "config", "log"})
        {
            fDirectory.makeDirectory(name);
        }
    }

    ~PTestCore()
    {
        try
        {
            stop();
        }
        catch (const std::exception& problem)
        {
            (void)std::fprintf(stderr, "[testkit] %s\n", problem.what());
        }
    }

    PTestCore(const PTestCore&) = delete;
    PTestCore& operator=(const PTestCore&) = delete;

    /// Before start(): copies a plugin library into the directory, under its own name.
    void addPlugin(const std::filesystem::path& iFile)
    {
        refuseStarted("addPlugin");
        if (iFile.extension() != ".so")
        {
            throw PTestError(iFile.string() + " does not end with .so: the core would not see it");
        }
        fDirectory.copy(iFile, "plugins" / iFile.filename(),
                        "build it first, and let the build tell the test its path");
    }

    /// Before start(): adds a plugin that is linked into the test, by its factory: ixlaGetPlugin,
    /// or ixlaNewPlugin<TPlugin> for a class of the test. The first service() for one of its IDs
    /// initialises it. Other plugins do not find its services.
    void addPlugin(IPlugin* (*iFactory)())
    {
        refuseStarted("addPlugin");
        fFactories.push_back(iFactory);
    }

    /// Before start(): sets the text of the configuration iId, as lines "key = value". Another call
    /// for the same ID replaces the text.
    void configure(const std::string& iId, const std::string& iText)
    {
        refuseStarted("configure");
        fDirectory.write("config/" + iId + ".prs", iText);
        fConfigured[iId] = iId + ".prs";
    }

    /// Before start(): copies a configuration file into the directory, under its own name. The
    /// manager's own file, ixlap.configmanager.prs, maps IDs to the others; the store file that it
    /// names is ignored, and the store stays in the temporary directory.
    void addConfigFile(const std::filesystem::path& iFile)
    {
        refuseStarted("addConfigFile");
        if (iFile.filename() == kManagerFile)
        {
            std::ifstream in(iFile);
            fManagerText.assign(std::istreambuf_iterator<char>(in), {});
        }
        fDirectory.copy(iFile, "config" / iFile.filename(), "name a file that is there");
    }

    /// Before start(): sets an argument of the core. Those for files and directories belong to the
    /// test kit and are refused.
    void set(const std::string& iKey, const std::string& iValue)
    {
        refuseStarted("set");
        for (const auto& [key, place] : places())
        {
            if (iKey == key)
            {
                throw PTestError(iKey + " belongs to the test kit; see directory()");
            }
        }
        fArguments[iKey] = iValue;
    }

    /// Starts the core.
    void start()
    {
        const int result = tryStart();
        if (result == eIxlaCoreExists)
        {
            throw PTestError("this process runs a core already, and can have only one: stop the "
                             "other PTestCore first, or run the tests in processes of their own");
        }
        if (result != eIxlaOk)
        {
            throw PTestError("the core does not start: " + ixlaResultText(result) +
                             "; fix the errors in its log:\n" + errorLines());
        }
    }

    /// Starts the core and returns the result: -1009 also when a factory of the test returns null,
    /// -1007 also when a plugin of the test offers an ID of another one. Throws only when this
    /// object has already started it.
    int tryStart()
    {
        refuseStarted("start");
        writeManagerFile();
        std::vector<PString> arguments;
        for (const auto& [key, value] : fArguments)
        {
            std::string argument = key;
            arguments.push_back(ixlaWide(argument.append("=").append(value)));
        }
        for (const auto& [key, place] : places())
        {
            arguments.push_back(ixlaWide(key + "=" + (fDirectory.path() / place).string()));
        }
        const int result = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
        fStarted = result == eIxlaOk;
        return fStarted ? addLinked() : result;
    }

    /// Ends the recorders and stops the core; does nothing when it is not started. Throws when the
    /// core could not stop in time because of a plugin.
    void stop()
    {
        if (!fStarted)
        {
            return;
        }
        for (PEventRecorder& recorder : fRecorders)
        {
            recorder.end();
        }
        fStarted = false;
        const int result = ixlaStop();
        fLinked.clear();
        if (result != eIxlaOk)
        {
            throw PTestError("the core does not stop: " + ixlaResultText(result) + "\n" +
                             errorLines());
        }
        expectNotInLog("Waiting finished with timeout!",
                       "a listener of event.core.exit did not return in time");
        expectNotInLog("Calls that do not leave the core",
                       "threads were still inside the core: end them in onExit");
    }

    /// Whether the core is started.
    bool isStarted() const noexcept
    {
        return fStarted;
    }

    /// Looks up and holds the service behind iId; initialises its plugin first if needed.
    template <class TService>
    PBaseptr<TService> service(const PLiteral& iId) const
    {
        int result = eIxlaOk;
        PBaseptr<TService> found;
        if (PLinkedPlugin* const linked = findLinked(iId))
        {
            found = linked->service<TService>(iId, result);
        }
        else
        {
            found = ixlaService<TService>(iId, result);
        }
        if (result != eIxlaOk)
        {
            throw PTestError("no service \"" + ixlaNarrow(iId) + "\": " + ixlaResultText(result) +
                             "; was its plugin added, and does it say why?\n" + errorLines());
        }
        return found;
    }

    /// The same with the ID from IxlaServiceId: service<IConfigManager>().
    template <class TService>
    PBaseptr<TService> service() const
    {
        return service<TService>(IxlaServiceId<TService>::get());
    }

    /// Records the events of a topic from now on. This object owns the recorder.
    PEventRecorder& record(const PLiteral& iTopic)
    {
        return fRecorders.emplace_back(iTopic);
    }

    /// Sends an event. A topic without listeners is no error.
    void send(const PLiteral& iTopic, IBase* iParam1 = nullptr, int iParam2 = 0) const
    {
        const int result = service<IEventDispatcher>()->send(iTopic, iParam1, iParam2);
        if (result != eIxlaOk && result != eIxlaNoListener)
        {
            throw PTestError("cannot send to \"" + ixlaNarrow(iTopic) +
                             "\": " + ixlaResultText(result));
        }
    }

    /// The core log.
    PTestLog coreLog() const
    {
        return PTestLog(fDirectory.path() / "core.log");
    }

    /// A log in the plugins' log directory; by default the plugins' shared log.
    PTestLog log(const std::string& iName = "ixlaplugins.log") const
    {
        return PTestLog(fDirectory.path() / "log" / iName);
    }

    /// The error lines of all logs as one indented text, for messages.
    std::string errorLines() const
    {
        std::vector<std::string> lines = coreLog().errors();
        for (const auto& entry : std::filesystem::directory_iterator(fDirectory.path() / "log"))
        {
            const std::vector<std::string> more = PTestLog(entry.path()).errors();
            lines.insert(lines.end(), more.begin(), more.end());
        }
        std::string text;
        for (const std::string& line : lines)
        {
            text += "    " + line + "\n";
        }
        return text.empty() ? "    (no errors in the logs)\n" : text;
    }

    /// The temporary directory, for files that a test reads or writes itself.
    const std::filesystem::path& directory() const noexcept
    {
        return fDirectory.path();
    }

private:
    static constexpr char kManagerFile[] = "ixlap.configmanager.prs";

    static const std::map<std::string, std::string>& places()
    {
        static const std::map<std::string, std::string> sPlaces = {
            {"core.log.file", "core.log"},
            {"core.plugins.dir", "plugins"},
            {"core.plugins.config.dir", "config"},
            {"core.plugins.log.dir", "log"}};
        return sPlaces;
    }

    void refuseStarted(const std::string& iOperation) const
    {
        if (fStarted)
        {
            throw PTestError(iOperation + "() comes before start(), or after stop()");
        }
    }

    PLinkedPlugin* findLinked(const PLiteral& iId) const
    {
        const auto found = std::find_if(fLinked.begin(), fLinked.end(),
                                        [&](const std::unique_ptr<PLinkedPlugin>& iLinked)
                                        { return iLinked->offers(iId); });
        return found == fLinked.end() ? nullptr : found->get();
    }

    /// Creates the plugins of the factories; stops the core when one cannot be added.
    int addLinked()
    {
        int result = eIxlaOk;
        for (std::size_t i = 0; i < fFactories.size() && result == eIxlaOk; ++i)
        {
            auto linked = std::make_unique<PLinkedPlugin>(fFactories[i]());
            result = linked->check([this](const PLiteral& iId)
                                   { return findLinked(iId) || ixlaIsInterfaceAvailable(iId); });
            fLinked.push_back(std::move(linked));
        }
        if (result != eIxlaOk)
        {
            stop();
        }
        return result;
    }

    // The later of two lines for the same key wins, so the last line sets the store.
    void writeManagerFile() const
    {
        std::string text = fManagerText + "\n";
        for (const auto& [id, file] : fConfigured)
        {
            text.append(id).append(" = ").append(file).append("\n");
        }
        text += "ixlap.configmanager.store.file = store.txt\n";
        fDirectory.write(std::string("config/") + kManagerFile, text);
    }

    void expectNotInLog(const std::string& iText, const std::string& iMeaning) const
    {
        if (!coreLog().find(iText).empty())
        {
            throw PTestError("the core stopped, but " + iMeaning);
        }
    }

    PTestDirectory fDirectory;
    std::map<std::string, std::string> fArguments;
    std::map<std::string, std::string> fConfigured; ///< files by configuration ID
    std::string fManagerText;
    std::vector<IPlugin* (*)()> fFactories;
    std::vector<std::unique_ptr<PLinkedPlugin>> fLinked;
    std::list<PEventRecorder> fRecorders;
    bool fStarted = false;
};

#endif
