// SPDX-License-Identifier: MIT
#include "validate/PCheckProcess.h"

#include "shared/ToolTexts.h"
#include "validate/PFailedCheck.h"
#include "validate/PTrial.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <poll.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
constexpr std::size_t kKeptOutput = 65536;
constexpr std::size_t kKeptResults = 1048576;
constexpr std::size_t kShownLines = 5;
constexpr int kLookMilliseconds = 50;
constexpr int kSanitizerExitCode = 86; ///< of ASAN_OPTIONS
constexpr char kVerdictMark[] = "verdict ";
constexpr char kPhaseMark[] = "phase ";

/// Reads the available bytes and keeps the last iKept ones; false at the end of the pipe.
bool _drain(int iDescriptor, std::size_t iKept, std::string& ioText)
{
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(iDescriptor, buffer.data(), buffer.size());
    if (count <= 0)
    {
        return count < 0 && (errno == EINTR || errno == EAGAIN);
    }
    ioText.append(buffer.data(), static_cast<std::size_t>(count));
    ioText.erase(0, ioText.size() - std::min(ioText.size(), iKept));
    return true;
}

/// The last line that begins with iMark, without it; false when there is none.
bool _findLast(const std::string& iText, const std::string& iMark, std::string& oRest)
{
    bool found = false;
    std::istringstream in(iText);
    for (std::string line; std::getline(in, line);)
    {
        if (line.starts_with(iMark))
        {
            oRest = line.substr(iMark.size());
            found = true;
        }
    }
    return found;
}

std::string _signalText(int iSignal)
{
    const char* const name = ::sigabbrev_np(iSignal);
    const char* const meaning = ::sigdescr_np(iSignal);
    return name && meaning ? "SIG" + std::string(name) + " (" + meaning + ")"
                           : "signal " + std::to_string(iSignal);
}

/// The last lines that the plugin wrote, without those of the core.
std::string _lastLines(const std::string& iText)
{
    std::vector<std::string> lines;
    std::istringstream in(iText);
    for (std::string line; std::getline(in, line);)
    {
        if (!line.empty() && !line.starts_with("[iXLA] "))
        {
            lines.push_back("    " + shownUtf8(line));
        }
    }
    std::string text;
    for (std::size_t i = lines.size() - std::min(lines.size(), kShownLines); i < lines.size(); ++i)
    {
        text += "\n" + lines[i];
    }
    return text.empty() ? "" : "; its last output:" + text;
}

PVerdict _runSafely(const PCheck& iCheck, PTrial& ioTrial)
{
    try
    {
        return iCheck.run(ioTrial);
    }
    catch (const PFailedCheck& failure)
    {
        return failure.verdict();
    }
    catch (const PTestError& problem)
    {
        return PVerdict::fail(problem.what(), "see the results of the other checks");
    }
    catch (const std::filesystem::filesystem_error& problem)
    {
        return PVerdict::fail(problem.what(), "make the directories readable and TMPDIR writable");
    }
    catch (const std::exception& problem)
    {
        return PVerdict::fail("the plugin threw an exception: " + std::string(problem.what()),
                              "catch all exceptions in the plugin");
    }
    catch (...)
    {
        return PVerdict::fail("the plugin threw an exception other than std::exception",
                              "catch all exceptions in the plugin");
    }
}

std::string _toLine(const PVerdict& iVerdict)
{
    const nlohmann::json line = {
        {"passed", iVerdict.passed}, {"reason", iVerdict.reason}, {"advice", iVerdict.advice}};
    return kVerdictMark + line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
           "\n";
}

/// Throws when _toLine did not write the line.
PVerdict _fromLine(const std::string& iLine)
{
    const nlohmann::json line = nlohmann::json::parse(iLine);
    return {line.at("passed").get<bool>(), line.at("reason").get<std::string>(),
            line.at("advice").get<std::string>()};
}

/// The environment of the process.
bool _setEnvironment(const std::string& iScratch)
{
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread is there yet
    return ::setenv("TMPDIR", iScratch.c_str(), 1) == 0 && ::unsetenv("LOG_IXLACORE") == 0 &&
           ::unsetenv("IXLAL_TESTKIT_KEEP") == 0;
    // NOLINTEND(concurrency-mt-unsafe)
}

/// Isolates the process: own group, ends with its parent, no core files, scratch directory, output
/// to iOutput.
void _settle(const std::string& iScratch, int iOutput)
{
    const rlimit noCore = {0, 0};
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const bool settled = ::setpgid(0, 0) == 0 && ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
                         ::setrlimit(RLIMIT_CORE, &noCore) == 0 && ::chdir(iScratch.c_str()) == 0 &&
                         _setEnvironment(iScratch) && ::dup2(nothing, 0) == 0 &&
                         ::dup2(iOutput, 1) == 1 && ::dup2(iOutput, 2) == 2;
    if (!settled)
    {
        throw std::system_error(errno, std::generic_category(), "cannot prepare the process");
    }
}
/// Replaces this process by the launched program, which inherits the handle iResults.
[[noreturn]] void _execute(const PLaunch& iLaunch, const std::vector<std::string>& iArguments,
                           int iResults)
{
    for (const auto& [name, value] : iLaunch.environment)
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there yet
        static_cast<void>(::setenv(name.c_str(), value.c_str(), 1));
    }
    std::vector<std::string> texts = iLaunch.command;
    texts.insert(texts.end(), iArguments.begin(), iArguments.end());
    std::vector<char*> words;
    words.reserve(texts.size() + 1);
    for (std::string& text : texts)
    {
        words.push_back(text.data());
    }
    words.push_back(nullptr);
    static_cast<void>(::fcntl(iResults, F_SETFD, 0));
    static_cast<void>(::execvp(words.front(), words.data()));
    throw std::system_error(errno, std::generic_category(), "cannot run " + texts.front());
}

/// The leak check of the address sanitizer, which would run in exit().
void _findLeaks()
{
    if (void* const check = ::dlsym(RTLD_DEFAULT, "__lsan_do_recoverable_leak_check"))
    {
        static_cast<void>(reinterpret_cast<int (*)()>(check)());
    }
}
} // namespace

PCheckProcess::PCheckProcess(const PCheck& iCheck, const PValidateOptions& iOptions,
                             const std::string& iScratch, const PLaunch& iLaunch)
    : fLimit(iOptions.limit), fProcess(::fork())
{
    if (fProcess < 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    }
    if (fProcess == 0)
    {
        runCheck(iCheck, iOptions, iScratch, iLaunch);
    }
    // The parent reads only.
    static_cast<void>(fResults.writing.close());
    static_cast<void>(fOutput.writing.close());
    for (const PPipe* pipe : {&fResults, &fOutput})
    {
        static_cast<void>(::fcntl(pipe->reading.get(), F_SETFL, O_NONBLOCK));
    }
}

PCheckProcess::~PCheckProcess()
{
    end();
}

void PCheckProcess::runHere(const PCheck& iCheck, const PValidateOptions& iOptions, int iResults)
{
    int exitCode = EXIT_FAILURE;
    try
    {
        PTrial trial(iOptions, iResults);
        const std::string line = _toLine(_runSafely(iCheck, trial));
        const ssize_t written = ::write(iResults, line.data(), line.size());
        exitCode = written == static_cast<ssize_t>(line.size()) ? EXIT_SUCCESS : EXIT_FAILURE;
        _findLeaks();
    }
    catch (const std::exception& problem)
    {
        std::cerr << problem.what() << std::endl;
    }
    // Skips the destructors of libraries, which may hang after a faulty plugin.
    ::_exit(exitCode);
}

void PCheckProcess::runCheck(const PCheck& iCheck, const PValidateOptions& iOptions,
                             const std::string& iScratch, const PLaunch& iLaunch) const
{
    const int results = fResults.writing.get();
    try
    {
        _settle(iScratch, fOutput.writing.get());
        if (!iLaunch.command.empty())
        {
            _execute(iLaunch, iOptions.argumentsOf(iCheck.name, results), results);
        }
        runHere(iCheck, iOptions, results);
    }
    catch (const std::exception& problem)
    {
        std::cerr << problem.what() << std::endl;
    }
    ::_exit(EXIT_FAILURE);
}

const std::string& PCheckProcess::output() const
{
    return fWritten;
}

PVerdict PCheckProcess::wait()
{
    const bool inTime = readUntilEnd();
    end();
    return judge(inTime);
}

// Processes started by the check may keep the pipes open after its end.
bool PCheckProcess::readUntilEnd()
{
    const auto limit = std::chrono::steady_clock::now() + fLimit;
    while (!fEnded && std::chrono::steady_clock::now() < limit)
    {
        std::array<pollfd, 2> pipes = {pollfd{fResults.reading.get(), POLLIN, 0},
                                       pollfd{fOutput.reading.get(), POLLIN, 0}};
        static_cast<void>(::poll(pipes.data(), pipes.size(), kLookMilliseconds));
        const bool told = _drain(pipes[0].fd, kKeptResults, fTold);
        const bool written = _drain(pipes[1].fd, kKeptOutput, fWritten);
        if (!told && !written)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // it is about to end
        }
        fEnded = ::waitpid(fProcess, &fStatus, WNOHANG) == fProcess;
    }
    return fEnded;
}

void PCheckProcess::end()
{
    static_cast<void>(::kill(-fProcess, SIGKILL)); // fails if no process is left
    if (!fEnded)
    {
        static_cast<void>(::kill(fProcess, SIGKILL));
        while (::waitpid(fProcess, &fStatus, 0) < 0 && errno == EINTR)
        {
        }
        fEnded = true;
    }
    std::string before;
    do
    {
        before = fTold;
    } while (_drain(fResults.reading.get(), kKeptResults, fTold) && fTold != before);
    static_cast<void>(_drain(fOutput.reading.get(), kKeptOutput, fWritten));
}

PVerdict PCheckProcess::judge(bool iInTime) const
{
    std::string line;
    if (_findLast(fTold, kVerdictMark, line))
    {
        return _fromLine(line);
    }
    if (!iInTime)
    {
        return death("did not end within " + std::to_string(fLimit.count()) + " s",
                     "give every wait a limit, or raise --limit");
    }
    if (WIFEXITED(fStatus) && WEXITSTATUS(fStatus) == kSanitizerExitCode)
    {
        return death("was ended by the address sanitizer", "see the check \"memory\"");
    }
    if (WIFSIGNALED(fStatus))
    {
        return death("was killed by " + _signalText(WTERMSIG(fStatus)),
                     "use a debugger: gdb --args ixla-host --require ID ...");
    }
    return death("ended the process with exit code " + std::to_string(WEXITSTATUS(fStatus)),
                 "do not end the process in a plugin");
}

PVerdict PCheckProcess::death(const std::string& iHow, const std::string& iAdvice) const
{
    std::string phase = "beginning";
    static_cast<void>(_findLast(fTold, kPhaseMark, phase));
    return PVerdict::fail(iHow + " while " + phase + _lastLines(fWritten), iAdvice);
}
