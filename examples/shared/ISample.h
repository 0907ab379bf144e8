// SPDX-License-Identifier: MIT
// ISample: one sample of the machine, sent by the sampler.
#ifndef IXLAL_EXAMPLES_ISAMPLE_H
#define IXLAL_EXAMPLES_ISAMPLE_H

#include "IBase.h"

/// The interface ID of the sampler plugin's service. It has no operations; its lookup starts the
/// sampling.
constexpr wchar_t kSamplerId[] = L"com.example.ixla.sampler";

/// The topic of the samples; the first parameter of its events is an ISample.
constexpr wchar_t kSampleTopic[] = L"com.example.ixla.sample";

class ISample : public IBase
{
public:
    /// The load of the last minute, in hundredths: 150 for a load of 1.50. [any thread]
    virtual int getLoad() const = 0;

    /// The memory in use, in percent of all memory. [any thread]
    virtual int getMemory() const = 0;
};

#endif
