#pragma once
// The platform's own bounded printf-style formatter. `size` is the most characters stored
// before the terminator: the buffer must hold size + 1 bytes.
#include <cstdarg>

namespace Orx::Corvane
{
class CString
{
public:
    static int Format(char* buffer, int size, const char* format, ...);
    static int VFormat(char* buffer, unsigned int size, const char* format, va_list args);
};
} // namespace Orx::Corvane
