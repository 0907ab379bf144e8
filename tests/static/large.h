// SPDX-License-Identifier: MIT
// large: a class that scripts/check-static.sh must find too large.
#ifndef IXLAL_TESTS_LARGE_H
#define IXLAL_TESTS_LARGE_H

class PSmallBase
{
public:
    virtual ~PSmallBase() = default;
    virtual void run() = 0;
};

/// 26 members: 2 nested types, 2 operations and 22 data members. The others do not count.
class PLarge : public PSmallBase
{
public:
    enum Size
    {
        eSmall,
        eLarge
    };

    struct Inner
    {
        int value;
    };

    PLarge() = default;
    template <class T>
    explicit PLarge(const T& iOther);
    PLarge(const PLarge&) = delete;
    PLarge& operator=(const PLarge&) = delete;

    void run() override;
    template <class T>
    void walk(const T& iVisitor);
    static void reset();

private:
    int fA, fB, fC, fD, fE, fF, fG, fH, fI, fJ, fK;
    int fL, fM, fN, fO, fP, fQ, fR, fS, fT, fU, fV;
};

#endif
