// The emulated bus's instruction decoding, from real encodings.
#include "X86Decoder.h"

#include <gtest/gtest.h>

namespace
{

using Code = std::vector<uint8_t>; // the decoder reads 16 bytes: each row's code is followed by nops

TEST(X86Decoder, KnowsTheWidthOfAnAccessAndWhetherItReadsOrWrites)
{
    const std::tuple<Code, const char*, int> cases[] = {
        // "r" reads the operand, "w" only stores to it, "rw" both, "?" is not known
        {{0x88, 0x02}, "w", 1},             // mov [edx], al
        {{0x89, 0x02}, "w", 4},             // mov [edx], eax
        {{0x66, 0x89, 0x02}, "w", 2},       // mov [edx], ax
        {{0xC6, 0x02, 0x01}, "w", 1},       // mov byte [edx], 1
        {{0xC7, 0x02, 1, 0, 0, 0}, "w", 4}, // mov dword [edx], 1
        {{0x66, 0xC7, 0x02, 1, 0}, "w", 2}, // mov word [edx], 1
        {{0x0F, 0xB6, 0x02}, "r", 1},       // movzx eax, byte [edx]
        {{0x0F, 0xB7, 0x02}, "r", 2},       // movzx eax, word [edx]
        {{0x8A, 0x02}, "r", 1},             // mov al, [edx]
        {{0x8B, 0x02}, "r", 4},             // mov eax, [edx]
        {{0x80, 0x3A, 0x80}, "r", 1},       // cmp byte [edx], 0x80
        {{0x80, 0x0A, 0x01}, "rw", 1},      // or byte [edx], 1
        {{0x38, 0x02}, "r", 1},             // cmp [edx], al
        {{0x84, 0x02}, "r", 1},             // test [edx], al
        {{0xF6, 0x02, 0x01}, "r", 1},       // test byte [edx], 1
        {{0xFE, 0x02}, "rw", 1},            // inc byte [edx]
        {{0x86, 0x02}, "rw", 1},            // xchg [edx], al
        {{0xA2, 0, 0, 0, 0}, "w", 1},       // mov [moffs], al
        {{0x3E, 0x88, 0x02}, "w", 1},       // ds: mov [edx], al
        {{0x0F, 0x94, 0x02}, "w", 1},       // sete [edx]
        {{0xF3, 0xA4}, "?", 0},             // rep movsb
    };
    for (auto [code, use, size] : cases)
    {
        code.resize(16, 0x90);
        const simhost::MemoryAccess a = simhost::X86Decoder::decodeAccess(code.data());
        const std::string seen = a.known ? std::string(a.reads ? "r" : "") + (a.writes ? "w" : "") : "?";
        EXPECT_EQ(std::pair(seen, a.known ? a.size : 0), std::pair(std::string(use), size)) << int(code[1]);
    }
}

TEST(X86Decoder, KnowsTheRegisterWidthAndLengthOfALoad)
{
    // register, operand size, destination size, sign-extending, length; 0 for what is not a load
    const std::tuple<Code, int, int, int, bool, int> cases[] = {
        {{0x0F, 0xB6, 0x02}, 0, 1, 4, false, 3},                   // movzx eax, byte [edx]
        {{0x0F, 0xB6, 0x44, 0x24, 0x10}, 0, 1, 4, false, 5},       // movzx eax, [esp+0x10]
        {{0x0F, 0xB6, 0x8A, 0x10, 0, 0, 0}, 1, 1, 4, false, 7},    // movzx ecx, [edx+0x10]
        {{0x0F, 0xB6, 0x04, 0x0A}, 0, 1, 4, false, 4},             // movzx eax, [edx+ecx]
        {{0x0F, 0xB6, 0x04, 0x25, 0, 0, 0, 0}, 0, 1, 4, false, 8}, // SIB, no base
        {{0x0F, 0xB6, 0x05, 0, 0x10, 0, 0}, 0, 1, 4, false, 7},    // movzx eax, [disp32]
        {{0x0F, 0xBE, 0x1A}, 3, 1, 4, true, 3},                    // movsx ebx, byte [edx]
        {{0x0F, 0xB7, 0x32}, 6, 2, 4, false, 3},                   // movzx esi, word [edx]
        {{0x0F, 0xBF, 0x3A}, 7, 2, 4, true, 3},                    // movsx edi, word [edx]
        {{0x66, 0x0F, 0xB6, 0x02}, 0, 1, 2, false, 4},             // movzx ax, byte [edx]
        {{0x8A, 0x62, 0x01}, 4, 1, 1, false, 3},                   // mov ah, [edx+1]
        {{0x8B, 0x02}, 0, 4, 4, false, 2},                         // mov eax, [edx]
        {{0x66, 0x8B, 0x0A}, 1, 2, 2, false, 3},                   // mov cx, [edx]
        {{0x0F, 0xB6, 0xC2}, 0, 0, 0, false, 0},                   // register operand
        {{0x80, 0x3A, 0x80}, 0, 0, 0, false, 0},                   // cmp byte [edx], 0x80
        {{0x67, 0x8A, 0x07}, 0, 0, 0, false, 0},                   // 16-bit addressing
        {{0x88, 0x02}, 0, 0, 0, false, 0},                         // a store
    };
    for (auto [code, reg, size, destSize, signExtend, length] : cases)
    {
        code.resize(16, 0x90);
        const simhost::LoadInstruction l = simhost::X86Decoder::decodeLoad(code.data());
        EXPECT_EQ(l.valid ? std::tuple(l.reg, l.size, l.destSize, l.signExtend, l.length)
                          : std::tuple(0, 0, 0, false, 0),
                  std::tuple(reg, size, destSize, signExtend, length))
            << int(code[0]) << " " << int(code[1]);
    }
}

TEST(X86Decoder, KnowsThePortInstructions)
{
    // input, port in dx, operand size, length, immediate port; length 0 for what is not one
    const std::tuple<Code, bool, bool, int, int, int> cases[] = {
        {{0xEC}, true, true, 1, 1, 0},
        {{0xED}, true, true, 4, 1, 0},
        {{0x66, 0xED}, true, true, 2, 2, 0},
        {{0xEE}, false, true, 1, 1, 0},
        {{0xEF}, false, true, 4, 1, 0},
        {{0xE4, 0x71}, true, false, 1, 2, 0x71},
        {{0xE6, 0x70}, false, false, 1, 2, 0x70},
        {{0x66, 0xE7, 0x70}, false, false, 2, 3, 0x70},
        {{0x90}, false, false, 0, 0, 0},
        {{0x88}, false, false, 0, 0, 0},
        {{0xE8}, false, false, 0, 0, 0},
        {{0xEB}, false, false, 0, 0, 0},
        {{0x6C}, false, false, 0, 0, 0},
    };
    for (auto [code, input, fromDx, size, length, immediate] : cases)
    {
        code.resize(16, 0x90);
        const simhost::PortInstruction p = simhost::X86Decoder::decodePort(code.data());
        EXPECT_EQ(p.valid ? std::tuple(p.input, p.fromDx, p.size, p.length, fromDx ? 0 : int(p.immediate))
                          : std::tuple(false, false, 0, 0, 0),
                  std::tuple(input, fromDx, size, length, immediate))
            << int(code[0]);
    }
}

} // namespace
