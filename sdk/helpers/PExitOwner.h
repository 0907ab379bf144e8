// SPDX-License-Identifier: MIT
/// @file
/// PExitOwner, PExitMember: what a service ends at its exit.
#ifndef IXLAL_SDK_PEXITOWNER_H
#define IXLAL_SDK_PEXITOWNER_H

class PExitOwner;

/// A member of a service that works on threads of its own, and ends before onExit of its service is
/// called.
class PExitMember
{
public:
    PExitMember(const PExitMember&) = delete;
    PExitMember& operator=(const PExitMember&) = delete;

    /// Ends the work and waits until it has ended; later calls do nothing.
    virtual void end() noexcept = 0;

protected:
    /// ioOwner may be null: then only end() and the destructor end the work.
    explicit PExitMember(PExitOwner* ioOwner) noexcept;

    ~PExitMember();

private:
    friend class PExitOwner;

    PExitOwner* const fOwner;
    PExitMember* fEarlier;
};

/// The base class of PService that knows such members. Members are constructed before the service's
/// onInit returns, and destroyed with the service.
class PExitOwner
{
public:
    PExitOwner(const PExitOwner&) = delete;
    PExitOwner& operator=(const PExitOwner&) = delete;

protected:
    PExitOwner() noexcept : fLatest(nullptr)
    {
    }

    ~PExitOwner() = default;

private:
    friend class PExitMember;
    friend class PServiceList;

    /// Ends the members, the latest first.
    void endMembers() noexcept
    {
        for (PExitMember* member = fLatest; member; member = member->fEarlier)
        {
            member->end();
        }
    }

    PExitMember* fLatest;
};

inline PExitMember::PExitMember(PExitOwner* ioOwner) noexcept : fOwner(ioOwner), fEarlier(nullptr)
{
    if (fOwner)
    {
        fEarlier = fOwner->fLatest;
        fOwner->fLatest = this;
    }
}

inline PExitMember::~PExitMember()
{
    if (!fOwner)
    {
        return;
    }
    PExitMember** place = &fOwner->fLatest;
    while (*place != this)
    {
        place = &(*place)->fEarlier;
    }
    *place = fEarlier;
}

#endif
