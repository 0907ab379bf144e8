// SPDX-License-Identifier: MIT
// PFileStatus: owner, group, mode and extended attributes of a file.
#ifndef IXLAL_TOOLS_PFILESTATUS_H
#define IXLAL_TOOLS_PFILESTATUS_H

#include <map>
#include <string>
#include <sys/types.h>

/// What a file that replaces another one takes over. Access control lists are extended attributes.
class PFileStatus
{
public:
    /// That of an open file. Throws std::system_error.
    static PFileStatus of(int iFile);

    /// That of a new file in a directory: mode 0600; for root, the owner and the group of the
    /// directory, so that the service that owns the directory can use the file. Throws
    /// std::system_error.
    static PFileStatus ofNewFileIn(int iDirectory);

    /// Gives an open file this status. Throws std::system_error whose text names what cannot be
    /// kept; the file has a part of the status then.
    void applyTo(int iFile) const;

private:
    typedef std::map<std::string, std::string> Attributes;

    static Attributes readAttributes(int iFile);
    void applyAttributesTo(int iFile) const;

    uid_t fOwner = 0;
    gid_t fGroup = 0;
    mode_t fMode = 0;
    Attributes fAttributes;
};

#endif
