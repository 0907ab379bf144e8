// SPDX-License-Identifier: MIT
#include "shared/PStoreCopies.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

PStoreCopies::PStoreCopies(const std::string& iStorePath) : fStore(iStorePath)
{
}

std::string PStoreCopies::keep(unsigned int iCount)
{
    finishRotation(iCount);
    const std::optional<std::string> bytes = fStore.read();
    const std::string loss = findLoss(bytes);
    if (!loss.empty())
    {
        hold();
    }
    if (bytes && !bytes->empty() && readText(fStore.name())->fault().empty())
    {
        rotate(*bytes, iCount);
    }
    const bool isHeld = loss.empty() ? !releaseHeld() : fStore.directory().exists(held());
    if (loss.empty() && !isHeld)
    {
        return "";
    }
    const std::string advice = isHeld ? "`ixla-config restore` replaces it by " +
                                            fStore.directory().pathOf(held()) +
                                            ", `ixla-config backup` accepts the loss"
                                      : "`ixla-config repair` keeps the lines that can be read";
    return fStore.path() + ": " + (loss.empty() ? "it lost values before an earlier start" : loss) +
           "; " + advice;
}

std::string PStoreCopies::backUp(unsigned int iCount)
{
    const std::string bytes = requireWhole();
    finishRotation(iCount);
    const std::optional<std::string> before = fStore.directory().read(held());
    if (before)
    {
        rotate(*before, iCount + 1);
    }
    rotate(bytes, before ? std::max(iCount, 2u) : iCount);
    fStore.directory().remove(held());
    return fStore.directory().pathOf(newest());
}

void PStoreCopies::backUpTo(const std::string& iPath)
{
    const std::string bytes = requireWhole();
    const PFileStatus status = fStore.directory().statusOf(fStore.name());
    const auto copyTo = [&](PLockedDirectory& ioDirectory)
    {
        const std::string name = fs::path(iPath).filename();
        if (ioDirectory.exists(name))
        {
            throw PFileError(iPath + ": the file exists; choose another name");
        }
        ioDirectory.write(name, bytes, status);
    };
    std::error_code error;
    if (fs::equivalent(PStoreFile::directoryOf(iPath), PStoreFile::directoryOf(fStore.path()),
                       error))
    {
        copyTo(fStore.directory());
        return;
    }
    PLockedDirectory other(PStoreFile::directoryOf(iPath));
    copyTo(other);
}

PStoreCopies::Restored PStoreCopies::restore(const std::string& iPath)
{
    PLockedDirectory& directory = fStore.directory();
    const std::string own = best();
    if (iPath.empty() && own.empty())
    {
        throw PFileError(fStore.path() + ": there is no copy of it; name one");
    }
    Restored done;
    done.source = iPath.empty() ? directory.pathOf(own) : iPath;
    const std::string bytes = PLockedDirectory::readPath(done.source);
    const PStoreText text(bytes, done.source);
    if (!text.fault().empty())
    {
        throw PFileError(done.source + ": " + text.fault() + "; choose another copy");
    }
    done.entries = text.entries();
    const std::optional<std::string> old = fStore.read();
    const PFileStatus status = directory.statusOf(old || own.empty() ? fStore.name() : own);
    if (old && *old != bytes)
    {
        const std::string replaced = fStore.name() + ".replaced";
        directory.write(replaced, *old, status);
        done.replaced = directory.pathOf(replaced);
    }
    directory.write(fStore.name(), bytes, status);
    if (iPath.empty() || directory.read(held()) == bytes)
    {
        directory.remove(held());
    }
    return done;
}

std::string PStoreCopies::numbered(unsigned int iNumber) const
{
    return fStore.name() + "." + std::to_string(iNumber);
}

std::string PStoreCopies::held() const
{
    return fStore.name() + ".held";
}

/// The name of the newest copy that is not held; empty for none.
std::string PStoreCopies::newest() const
{
    // A process that was killed may have left a gap.
    for (unsigned int number = 0; number <= kMostCopies; ++number)
    {
        if (fStore.directory().exists(numbered(number)))
        {
            return numbered(number);
        }
    }
    return "";
}

std::optional<PStoreText> PStoreCopies::readText(const std::string& iName) const
{
    const std::optional<std::string> bytes =
        iName.empty() ? std::nullopt : fStore.directory().read(iName);
    return bytes
               ? std::optional<PStoreText>(std::in_place, *bytes, fStore.directory().pathOf(iName))
               : std::nullopt;
}

/// The content of a store that exists and has no visible fault.
std::string PStoreCopies::requireWhole() const
{
    const std::optional<std::string> bytes = fStore.read();
    if (!bytes)
    {
        throw PFileError(fStore.path() + ": there is no store to copy");
    }
    const std::string fault = readText(fStore.name())->fault();
    if (!fault.empty())
    {
        throw PFileError(fStore.path() + ": " + fault + "; repair or restore it first");
    }
    return *bytes;
}

/// What the store lost since its newest copy; empty for nothing.
std::string PStoreCopies::findLoss(const std::optional<std::string>& iBytes) const
{
    const std::optional<PStoreText> copy = readText(newest());
    const bool hasValues = copy && copy->entries() > 0;
    if (!iBytes || iBytes->empty())
    {
        return hasValues ? std::string(iBytes ? "it is empty" : "it does not exist") +
                               ", but its newest copy has values"
                         : "";
    }
    const PStoreText now = *readText(fStore.name());
    if (!now.fault().empty())
    {
        return now.fault();
    }
    return hasValues && now.endsBefore(*copy) ? "it ends before the last entry of its newest copy"
                                              : "";
}

/// The name of the copy to restore: the held one, unless the newest one has all its entries.
std::string PStoreCopies::best() const
{
    const std::optional<PStoreText> before = readText(held());
    const std::optional<PStoreText> last = readText(newest());
    return before && !(last && last->hasAllOf(*before)) ? held() : newest();
}

/// Holds the newest copy, unless there is none or the held one has further entries.
void PStoreCopies::hold()
{
    PLockedDirectory& directory = fStore.directory();
    const std::string copy = best();
    if (!copy.empty() && copy != held())
    {
        directory.write(held(), directory.read(copy).value(), directory.statusOf(copy));
    }
}

/// Removes the held copy if the newest one has all its entries. Returns whether none is held.
bool PStoreCopies::releaseHeld()
{
    if (fStore.directory().exists(held()) && best() != held())
    {
        fStore.directory().remove(held());
    }
    return !fStore.directory().exists(held());
}

/// Adds a copy, unless it is the same as the newest one.
void PStoreCopies::rotate(const std::string& iBytes, unsigned int iCount)
{
    PLockedDirectory& directory = fStore.directory();
    const std::string last = newest();
    if (last.empty() || directory.read(last) != iBytes)
    {
        directory.write(numbered(0), iBytes, directory.statusOf(fStore.name()));
        finishRotation(iCount);
    }
}

/// Renames STORE.0 to STORE.1, after those that are in the way, and removes copies beyond iCount.
void PStoreCopies::finishRotation(unsigned int iCount)
{
    PLockedDirectory& directory = fStore.directory();
    if (directory.exists(numbered(0)))
    {
        unsigned int last = 1;
        while (last < iCount && directory.exists(numbered(last)))
        {
            ++last;
        }
        for (; last > 0; --last)
        {
            directory.rename(numbered(last - 1), numbered(last));
        }
    }
    for (unsigned int number = iCount + 1; directory.exists(numbered(number)); ++number)
    {
        directory.remove(numbered(number));
    }
}
