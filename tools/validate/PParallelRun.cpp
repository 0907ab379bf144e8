// SPDX-License-Identifier: MIT
#include "validate/PParallelRun.h"

#include "validate/PValidation.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace
{
/// Returns false at the end of the pipe or of the line. A process that a plugin has started may
/// keep the pipe open.
bool _readMore(int iDescriptor, std::string& ioText)
{
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(iDescriptor, buffer.data(), buffer.size());
    ioText.append(buffer.data(), static_cast<std::size_t>(count > 0 ? count : 0));
    return (count > 0 && !ioText.ends_with('\n')) || (count < 0 && errno == EINTR);
}
} // namespace

PParallelRun::PParallelRun(const PValidateOptions& iOptions) : fOptions(iOptions)
{
}

PParallelRun::~PParallelRun()
{
    for (const auto& [index, worker] : fWorkers)
    {
        static_cast<void>(::kill(worker->process, SIGKILL));
        static_cast<void>(::waitpid(worker->process, nullptr, 0));
    }
}

void PParallelRun::run(const std::vector<PSubjectSearch::Found>& iFound,
                       const std::function<void(const PLibraryResult&)>& iReport)
{
    std::size_t next = 0;
    for (std::size_t i = 0; i < iFound.size(); ++i)
    {
        while (std::holds_alternative<PSubject>(iFound[i]) && fTexts.count(i) == 0)
        {
            for (; next < iFound.size() && fWorkers.size() < fOptions.jobs; ++next)
            {
                if (const auto* const subject = std::get_if<PSubject>(&iFound[next]))
                {
                    start(next, *subject);
                }
            }
            waitForOne();
        }
        iReport(resultOf(iFound[i], i));
    }
}

void PParallelRun::start(std::size_t iIndex, const PSubject& iSubject)
{
    std::cout.flush();
    auto worker = std::make_unique<PWorker>();
    worker->process = ::fork();
    if (worker->process < 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    }
    if (worker->process == 0)
    {
        work(*worker, iSubject);
    }
    static_cast<void>(worker->result.writing.close());
    fWorkers[iIndex] = std::move(worker);
}

void PParallelRun::work(const PWorker& iWorker, const PSubject& iSubject) const
{
    int exitCode = EXIT_FAILURE;
    try
    {
        static_cast<void>(::prctl(PR_SET_PDEATHSIG, SIGKILL));
        const PValidateOptions options = fOptions.of(iSubject);
        PValidation validation(options, [](const PCheckResult&) {});
        const auto replace = nlohmann::ordered_json::error_handler_t::replace;
        // The parent reports a result that is missing.
        static_cast<void>(iWorker.result.writing.writeAll(
            validation.run().toJson().dump(-1, ' ', false, replace) + "\n"));
        exitCode = EXIT_SUCCESS;
    }
    catch (const std::exception& problem)
    {
        std::cerr << "ixla-validate: " << problem.what() << std::endl;
    }
    ::_exit(exitCode); // the destructors are those of the parent
}

void PParallelRun::waitForOne()
{
    for (std::size_t before = fWorkers.size(); fWorkers.size() == before;)
    {
        std::vector<pollfd> pipes;
        for (const auto& [index, worker] : fWorkers)
        {
            pipes.push_back({worker->result.reading.get(), POLLIN, 0});
        }
        static_cast<void>(::poll(pipes.data(), pipes.size(), -1));
        auto pipe = pipes.begin();
        for (auto each = fWorkers.begin(); each != fWorkers.end(); ++pipe)
        {
            PWorker& worker = *each->second;
            if (pipe->revents == 0 || _readMore(pipe->fd, worker.text))
            {
                ++each;
                continue;
            }
            static_cast<void>(::waitpid(worker.process, nullptr, 0));
            fTexts[each->first] = std::move(worker.text);
            each = fWorkers.erase(each);
        }
    }
}

PLibraryResult PParallelRun::resultOf(const PSubjectSearch::Found& iFound, std::size_t iIndex)
{
    const auto* const subject = std::get_if<PSubject>(&iFound);
    if (!subject)
    {
        return std::get<PLibraryResult>(iFound);
    }
    try
    {
        return PLibraryResult::ofJson(fTexts[iIndex]);
    }
    catch (const nlohmann::json::exception&)
    {
        return PLibraryResult::failed(subject->given, "its validation ended too early",
                                      "see the error on the standard error stream, and run it "
                                      "alone");
    }
}
