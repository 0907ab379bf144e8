// SPDX-License-Identifier: MIT
// ISample: one look at the machine, as the sampler sends it.
#ifndef IXLAL_EXAMPLES_ISAMPLE_H
#define IXLAL_EXAMPLES_ISAMPLE_H

#include "IBase.h"

/// The service of the sampler plugin. It has no operations: whoever asks for it sets the sampling
/// going.
constexpr wchar_t kSamplerId[] = L"com.example.ixla.sampler";

/// The topic of the samples; the first parameter of its events is an ISample.
constexpr wchar_t kSampleTopic[] = L"com.example.ixla.sample";

class ISample : public IBase
{
public:
    /// The load of the last minute in hundredths, 150 for a load of 1.50. [any thread]
    virtual int getLoad() const = 0;

    /// The memory in use in percent of all memory. [any thread]
    virtual int getMemory() const = 0;
};

#endif
