// SPDX-License-Identifier: MIT
// unsound: a header that scripts/check-static.sh must complain about.
#ifndef IXLAL_TESTS_UNSOUND_H
#define IXLAL_TESTS_UNSOUND_H

class Unsound
{
public:
    virtual ~Unsound() = default;
    virtual int shift(int iPlaces) const;
};

class MoreUnsound : public Unsound
{
public:
    int shift(int iPlaces) const; // lacks override
};

#endif
