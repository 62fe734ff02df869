#pragma once
// One formatter call decoded from fuzz bytes: size, format and typed arguments. The fuzz target
// runs it under ASan; FormatReplay runs the same bytes in the i386 and the x86_64 build so that
// their outputs can be compared.
#include "CString.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

class FormatCase
{
public:
    static constexpr int kMaxConversions = 12;

    FormatCase(const uint8_t* data, size_t size);

    int Size() const { return m_Size; }
    const std::string& Format() const { return m_Format; }
    // %n stores these; a caller compares them as output.
    const int (&Counters() const)[kMaxConversions] { return m_Counters; }

    // Formats into `buffer` (at least Size() + 1 bytes). `portable` keeps integer arguments to
    // what a long and a pointer hold on both builds, so that their outputs can agree.
    int Run(char* buffer, bool portable);

private:
    enum class Kind : uint8_t
    {
        Int,      // int, unsigned, '*', %c
        Long,     // long: 32 bits on i386, 64 on x86_64
        LongSign, // long printed signed
        Wide,     // long long
        Pointer,  // %p: the value itself
        Text,     // %s, %a, %n: points into this object, or null
        Bytes,
        Counter,
        Double,
    };
    struct Argument
    {
        Kind kind;
        uint64_t bits;
    };
    static constexpr size_t kMaxArguments = 40;
    static constexpr size_t kMaxDoubles = 8;

    class Input;
    bool Conversion(Input& in, int index);
    void Add(Kind kind, uint64_t bits) { m_Arguments[m_Count++] = {kind, bits}; }
    uint64_t Value(const Argument& argument, bool portable) const;

    template <size_t... I, size_t... D>
    int Call(char* buffer, const uint64_t* integers, const double* doubles, std::index_sequence<I...>,
             std::index_sequence<D...>)
    {
        return Orx::Corvane::CString::Format(buffer, m_Size, m_Format.c_str(), integers[I]..., doubles[D]...);
    }
    template <size_t... W> int Call(char* buffer, const uint32_t* words, std::index_sequence<W...>)
    {
        return Orx::Corvane::CString::Format(buffer, m_Size, m_Format.c_str(), words[W]...);
    }

    int m_Size = 0;
    std::string m_Format;
    Argument m_Arguments[kMaxArguments] = {};
    size_t m_Count = 0;
    size_t m_Doubles = 0;
    char m_Text[48] = {};
    unsigned char m_Bytes[8] = {};
    int m_Counters[kMaxConversions] = {};
};
