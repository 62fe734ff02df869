#pragma once
// One formatter call decoded from fuzz bytes: size, format and typed arguments, for the fuzz
// target (ASan) and for FormatReplay, which compares the i386 and the x86_64 build.
#include "CString.h"

#include <cstdint>
#include <string>
#include <utility>

class FormatCase
{
public:
    static constexpr int kMaxConversions = 12;

    FormatCase(const uint8_t* data, size_t size);

    int Size() const { return m_Size; }
    // %n stores these; a caller compares them as output.
    const int (&Counters() const)[kMaxConversions] { return m_Counters; }

    // Formats into `buffer` (at least Size() + 1 bytes). `portable` keeps integer arguments to
    // what a long and a pointer hold on both builds, so that their outputs can agree.
    int Run(char* buffer, bool portable);

private:
    struct Argument
    {
        uint64_t bits;
        uint64_t portable;
        bool wide; // long long or double: two words on i386
        bool real; // double
    };
    static constexpr size_t kMaxArguments = 40;
    static constexpr size_t kMaxDoubles = 8;

    uint8_t Byte() { return m_pData == m_pEnd ? 0 : *m_pData++; } // 0 after the end
    uint64_t Word();
    template <size_t N> const char* Pick(const char* const (&choices)[N]) { return choices[Byte() % N]; }
    void Conversion(int index);
    void Add(uint64_t bits, uint64_t portable, bool wide = false, bool real = false)
    {
        m_Doubles += real;
        m_Arguments[m_Count++] = {bits, portable, wide, real};
    }
    void Add(uint64_t bits) { Add(bits, bits); }
    void Add(const void* pointer, bool null) { Add(null ? 0 : reinterpret_cast<uintptr_t>(pointer)); }

    template <size_t... W, size_t... D>
    int Call(char* buffer, const uintptr_t* words, const double* doubles, std::index_sequence<W...>,
             std::index_sequence<D...>)
    {
        return Orx::Corvane::CString::Format(buffer, m_Size, m_Format.c_str(), words[W]..., doubles[D]...);
    }

    const uint8_t* m_pData;
    const uint8_t* m_pEnd;
    int m_Size = 0;
    std::string m_Format;
    Argument m_Arguments[kMaxArguments] = {};
    size_t m_Count = 0;
    size_t m_Doubles = 0;
    char m_Text[48] = {};
    unsigned char m_Bytes[8] = {};
    int m_Counters[kMaxConversions] = {};
};
