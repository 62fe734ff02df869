// Random formats with matching arguments into a heap buffer of exactly size + 1 bytes: ASan
// reports any store past the terminator's place, the checks below a wrong result.
#include "FormatCase.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t length)
{
    FormatCase call(data, length);
    const int size = call.Size();
    const size_t bytes = size > 0 ? static_cast<size_t>(size) + 1 : 1;
    char* buffer = new char[bytes];
    std::memset(buffer, 0x5a, bytes);
    const int result = call.Run(buffer, false);
    if (size <= 0)
    {
        if (result != size || buffer[0] != 0x5a)
            std::abort();
    }
    // The text is terminated inside the buffer. Its exact place is not checked: a %c of 0 stores a
    // zero byte inside the text, and output that stops early after a width on %n, %% or an unknown
    // conversion returns the size while the terminator stands behind what was really stored.
    else if (result < 0 || result > size || std::memchr(buffer, '\0', bytes) == nullptr)
        std::abort();
    delete[] buffer;
    return 0;
}
