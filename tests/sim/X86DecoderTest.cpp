// The emulated bus's instruction decoding, from real encodings.
#include "X86Decoder.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace
{

using simhost::X86Decoder;
using Code = std::vector<uint8_t>; // the decoder reads 16 bytes: each row's code is followed by nops

// What the three decoders make of one instruction, "-" or "?" where it is not theirs: the memory
// access ("r" reads the operand, "w" stores to it, then its width); the load (destination register,
// bytes read, register bytes written, s(ign-extended) or u, length); the port access (direction,
// port, width, length).
std::string Decoded(const uint8_t* code)
{
    const simhost::MemoryAccess a = X86Decoder::decodeAccess(code);
    const simhost::LoadInstruction l = X86Decoder::decodeLoad(code);
    const simhost::PortInstruction p = X86Decoder::decodePort(code);
    char load[32] = "-", port[32] = "-";
    if (l.valid)
        snprintf(load, sizeof load, "%d %d %d %c %d", l.reg, l.size, l.destSize, l.signExtend ? 's' : 'u',
                 l.length);
    if (p.valid)
        snprintf(port, sizeof port, "%s %s %d %d", p.input ? "in" : "out",
                 p.fromDx ? "dx" : std::to_string(p.immediate).c_str(), p.size, p.length);
    const std::string access =
        a.known ? std::string(a.reads ? "r" : "") + (a.writes ? "w" : "") + std::to_string(a.size) : "?";
    return access + "|" + load + "|" + port;
}

TEST(X86Decoder, KnowsWhatEachBusInstructionReadsWritesAndLoads)
{
    const std::pair<Code, const char*> cases[] = {
        {{0x88, 0x02}, "w1|-|-"},                                 // mov [edx], al
        {{0x89, 0x02}, "w4|-|-"},                                 // mov [edx], eax
        {{0x66, 0x89, 0x02}, "w2|-|-"},                           // mov [edx], ax
        {{0xC6, 0x02, 0x01}, "w1|-|-"},                           // mov byte [edx], 1
        {{0xC7, 0x02, 1, 0, 0, 0}, "w4|-|-"},                     // mov dword [edx], 1
        {{0x66, 0xC7, 0x02, 1, 0}, "w2|-|-"},                     // mov word [edx], 1
        {{0xA2, 0, 0, 0, 0}, "w1|-|-"},                           // mov [moffs], al
        {{0x3E, 0x88, 0x02}, "w1|-|-"},                           // ds: mov [edx], al
        {{0x0F, 0x94, 0x02}, "w1|-|-"},                           // sete [edx]
        {{0x80, 0x3A, 0x80}, "r1|-|-"},                           // cmp byte [edx], 0x80
        {{0x80, 0x0A, 0x01}, "rw1|-|-"},                          // or byte [edx], 1
        {{0x38, 0x02}, "r1|-|-"},                                 // cmp [edx], al
        {{0x84, 0x02}, "r1|-|-"},                                 // test [edx], al
        {{0xF6, 0x02, 0x01}, "r1|-|-"},                           // test byte [edx], 1
        {{0xFE, 0x02}, "rw1|-|-"},                                // inc byte [edx]
        {{0x86, 0x02}, "rw1|-|-"},                                // xchg [edx], al
        {{0xF3, 0xA4}, "?|-|-"},                                  // rep movsb
        {{0x8A, 0x02}, "r1|0 1 1 u 2|-"},                         // mov al, [edx]
        {{0x8A, 0x62, 0x01}, "r1|4 1 1 u 3|-"},                   // mov ah, [edx+1]
        {{0x8B, 0x02}, "r4|0 4 4 u 2|-"},                         // mov eax, [edx]
        {{0x66, 0x8B, 0x0A}, "r2|1 2 2 u 3|-"},                   // mov cx, [edx]
        {{0x67, 0x8A, 0x07}, "r1|-|-"},                           // 16-bit addressing: not emulated
        {{0x0F, 0xB6, 0x02}, "r1|0 1 4 u 3|-"},                   // movzx eax, byte [edx]
        {{0x0F, 0xB6, 0x44, 0x24, 0x10}, "r1|0 1 4 u 5|-"},       // movzx eax, [esp+0x10]
        {{0x0F, 0xB6, 0x8A, 0x10, 0, 0, 0}, "r1|1 1 4 u 7|-"},    // movzx ecx, [edx+0x10]
        {{0x0F, 0xB6, 0x04, 0x0A}, "r1|0 1 4 u 4|-"},             // movzx eax, [edx+ecx]
        {{0x0F, 0xB6, 0x04, 0x25, 0, 0, 0, 0}, "r1|0 1 4 u 8|-"}, // SIB, no base
        {{0x0F, 0xB6, 0x05, 0, 0x10, 0, 0}, "r1|0 1 4 u 7|-"},    // movzx eax, [disp32]
        {{0x66, 0x0F, 0xB6, 0x02}, "r1|0 1 2 u 4|-"},             // movzx ax, byte [edx]
        {{0x0F, 0xBE, 0x1A}, "r1|3 1 4 s 3|-"},                   // movsx ebx, byte [edx]
        {{0x0F, 0xB7, 0x32}, "r2|6 2 4 u 3|-"},                   // movzx esi, word [edx]
        {{0x0F, 0xBF, 0x3A}, "r2|7 2 4 s 3|-"},                   // movsx edi, word [edx]
        {{0xEC}, "?|-|in dx 1 1"},
        {{0xED}, "?|-|in dx 4 1"},
        {{0x66, 0xED}, "?|-|in dx 2 2"},
        {{0xEE}, "?|-|out dx 1 1"},
        {{0xEF}, "?|-|out dx 4 1"},
        {{0xE4, 0x71}, "?|-|in 113 1 2"},
        {{0xE6, 0x70}, "?|-|out 112 1 2"},
        {{0x66, 0xE7, 0x70}, "?|-|out 112 2 3"},
        {{0xE8}, "?|-|-"}, // call
        {{0xEB}, "?|-|-"}, // jmp
        {{0x6C}, "?|-|-"}, // insb
    };
    for (auto [code, decoded] : cases)
    {
        code.resize(16, 0x90);
        EXPECT_EQ(Decoded(code.data()), decoded) << testing::PrintToString(code);
    }
}

} // namespace
