// Random formats with matching arguments into a heap buffer of exactly size + 1 bytes: ASan
// reports any store past the terminator's place, the checks below a wrong result.
#include "FormatCase.h"

#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t length)
{
    FormatCase call(data, length);
    const int size = call.Size();
    std::vector<char> buffer(size > 0 ? size + 1 : 1, 0x5a); // on the heap, where ASan sees the byte after it
    const int result = call.Run(buffer.data(), false);
    // Without room nothing is stored. Otherwise the text is terminated inside the buffer; its exact
    // place is not checked: a %c of 0 stores a zero byte inside the text, and output that stops
    // early after a width on %n, %% or an unknown conversion returns the size while the terminator
    // stands behind what was really stored.
    if (size <= 0 ? result != size || buffer[0] != 0x5a
                  : result < 0 || result > size || std::memchr(buffer.data(), '\0', buffer.size()) == nullptr)
        std::abort();
    return 0;
}
