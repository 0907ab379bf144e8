// SPDX-License-Identifier: MIT
// A target with a deliberate error: a round trip that loses the last of three bytes. The fuzzer
// must find it, and the replay of its input must fail.
#include "fuzz/Check.h"
#include "fuzz/Texts.h"

namespace
{
std::string _lossyRoundTrip(std::string_view iBytes)
{
    std::string bytes = encoded(decoded(iBytes));
    const std::size_t sign = bytes.find("\xE2\x82\xAC");
    return sign == std::string::npos ? bytes : bytes.erase(sign + 2, 1);
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* iData, std::size_t iSize)
{
    const std::string_view bytes = bytesOf(iData, iSize);
    if (bytes.find_first_of(std::string_view("\0\n\r", 3)) == std::string_view::npos)
    {
        checkBytes(_lossyRoundTrip(bytes), std::string(bytes), "bytes come back");
    }
    return 0;
}
