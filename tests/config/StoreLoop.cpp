// SPDX-License-Identifier: MIT
// StoreLoop: stores values until it is killed:
//   store_loop DIRECTORY SEED PROGRESS READY SKIP PERMILLE [in-place]
// DIRECTORY has the manager's configuration, PROGRESS is the file with the progress, READY a
// descriptor that gets a byte before the first operation. With SKIP >= 0 the process kills itself
// at a file call, see FileFaults::killAfter. "in-place" overwrites the file's bytes one by one
// instead of storing; a test must detect this error.

#include "config/PConfigManager.h"
#include "config/StoreScript.h"
#include "support/FileFaults.h"
#include "support/Texts.h"

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
// More operations than a test waits for.
constexpr unsigned int kMostOperations = 20000;

StoreProgress* _progress(const char* iPath)
{
    const int file = open(iPath, O_RDWR);
    void* const memory =
        mmap(nullptr, sizeof(StoreProgress), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<StoreProgress*>(memory);
}

int _writeInPlace(const std::string& iPath, const std::string& iText)
{
    const int file = open(iPath.c_str(), O_WRONLY | O_CREAT, 0600);
    const ssize_t written = write(file, iText.data(), iText.size());
    const bool isCut = ftruncate(file, static_cast<off_t>(iText.size())) == 0;
    close(file);
    return written == static_cast<ssize_t>(iText.size()) && isCut ? 0 : -1;
}

bool _isAllowed(int iResult)
{
    // The second code is for an attribute of a key that is not stored.
    return iResult == 0 || iResult == -3002;
}
} // namespace

int main(int iCount, char** iArguments)
{
    StoreProgress* const progress = iCount > 6 ? _progress(iArguments[3]) : nullptr;
    if (!progress)
    {
        return 2;
    }
    const std::string directory = iArguments[1];
    const bool inPlace = iCount > 7;
    const PBaseptr<IConfigManager> manager(new PConfigManager);
    PBaseptr<IConfig> config;
    manager->setString(L"ixlap.global", L"core.plugins.config.dir", wide(directory));
    progress->result = manager->loadByID(wide(StoreScript::kID), config);

    StoreScript script(static_cast<unsigned int>(std::strtoul(iArguments[2], nullptr, 10)));
    StoreModel model = StoreModel::marked();
    const int ready = std::atoi(iArguments[4]);
    if (write(ready, "", 1) != 1)
    {
        return 2;
    }
    FileFaults::killAfter(std::atoi(iArguments[5]), std::atoi(iArguments[6]));
    while (progress->begun < kMostOperations && progress->result == 0)
    {
        script.next();
        __atomic_store_n(&progress->begun, progress->begun + 1, __ATOMIC_SEQ_CST);
        script.apply(model);
        const int result =
            inPlace ? _writeInPlace(directory + "/store.txt", model.text()) : script.run(*manager);
        progress->result = _isAllowed(result) ? 0 : result;
        __atomic_store_n(&progress->done, progress->begun, __ATOMIC_SEQ_CST);
    }
    // Reached only if the process was not killed.
    return 1;
}
