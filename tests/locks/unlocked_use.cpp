// SPDX-License-Identifier: MIT
// Uses guarded data without the lock: the check of the lock annotations must refuse this.

#include "portinglayer/PLockGuard.h"
#include "portinglayer/PMutex.h"

class Account
{
public:
    void deposit(int iAmount)
    {
        fBalance += iAmount;
    }

    void depositLocked(int iAmount)
    {
        const PLockGuard lock(fMutex);
        fBalance += iAmount;
    }

private:
    PMutex fMutex;
    int fBalance IXLA_GUARDED_BY(fMutex) = 0;
};

int main()
{
    Account account;
    account.depositLocked(1);
    account.deposit(1);
}
