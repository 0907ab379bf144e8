// SPDX-License-Identifier: MIT
#include "shared/PFileStatus.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr mode_t kPermissions = 07777;
constexpr mode_t kNewFile = 0600;

[[noreturn]] void _failWithErrno(const std::string& iWhat)
{
    throw std::system_error(errno, std::generic_category(), iWhat);
}

struct stat _status(int iFile)
{
    struct stat status = {};
    if (::fstat(iFile, &status) != 0)
    {
        _failWithErrno("its status cannot be read");
    }
    return status;
}

/// Reads a text whose length another process may change; iRead(buffer, size) returns the length or
/// -1.
template <class TRead>
std::string _readAll(const TRead& iRead, const std::string& iWhat)
{
    for (;;)
    {
        const ssize_t length = iRead(nullptr, 0);
        if (length <= 0)
        {
            return length == 0 || errno == ENOTSUP ? std::string()
                                                   : (_failWithErrno(iWhat), std::string());
        }
        std::string text(static_cast<std::size_t>(length), '\0');
        const ssize_t read = iRead(text.data(), text.size());
        if (read >= 0)
        {
            text.resize(static_cast<std::size_t>(read));
            return text;
        }
        if (errno != ERANGE)
        {
            _failWithErrno(iWhat);
        }
    }
}
} // namespace

PFileStatus PFileStatus::of(int iFile)
{
    const struct stat status = _status(iFile);
    PFileStatus found;
    found.fOwner = status.st_uid;
    found.fGroup = status.st_gid;
    found.fMode = status.st_mode & kPermissions;
    found.fAttributes = readAttributes(iFile);
    return found;
}

PFileStatus PFileStatus::ofNewFileIn(int iDirectory)
{
    const struct stat status = _status(iDirectory);
    const bool isRoot = ::geteuid() == 0;
    PFileStatus found;
    found.fOwner = isRoot ? status.st_uid : ::geteuid();
    found.fGroup = isRoot ? status.st_gid : ::getegid();
    found.fMode = kNewFile;
    return found;
}

void PFileStatus::applyTo(int iFile) const
{
    const struct stat now = _status(iFile);
    const bool isOwned = now.st_uid == fOwner && now.st_gid == fGroup;
    if (!isOwned && ::fchown(iFile, fOwner, fGroup) != 0)
    {
        _failWithErrno("its owner " + std::to_string(fOwner) + " and group " +
                       std::to_string(fGroup) + " cannot be kept");
    }
    if (::fchmod(iFile, fMode) != 0)
    {
        _failWithErrno("its mode cannot be kept");
    }
    // After the mode, which changes an access control list.
    applyAttributesTo(iFile);
    if ((_status(iFile).st_mode & kPermissions) != fMode)
    {
        errno = EPERM;
        _failWithErrno("its mode cannot be kept");
    }
}

PFileStatus::Attributes PFileStatus::readAttributes(int iFile)
{
    Attributes attributes;
    const std::string names =
        _readAll([=](char* oText, std::size_t iSize) { return ::flistxattr(iFile, oText, iSize); },
                 "its extended attributes cannot be read");
    for (std::size_t at = 0; at < names.size(); at += std::strlen(names.c_str() + at) + 1)
    {
        const char* const name = names.c_str() + at;
        attributes[name] = _readAll([=](char* oText, std::size_t iSize)
                                    { return ::fgetxattr(iFile, name, oText, iSize); },
                                    std::string("its attribute ") + name + " cannot be read");
    }
    return attributes;
}

void PFileStatus::applyAttributesTo(int iFile) const
{
    const Attributes now = readAttributes(iFile);
    for (const auto& [name, value] : fAttributes)
    {
        const auto found = now.find(name);
        const bool isSame = found != now.end() && found->second == value;
        if (!isSame && ::fsetxattr(iFile, name.c_str(), value.data(), value.size(), 0) != 0)
        {
            _failWithErrno("its attribute " + name + " cannot be kept");
        }
    }
    for (const auto& [name, value] : now)
    {
        // Inherited from the directory.
        if (fAttributes.count(name) == 0 && ::fremovexattr(iFile, name.c_str()) != 0)
        {
            _failWithErrno("the attribute " + name + " of its directory cannot be removed");
        }
    }
}
