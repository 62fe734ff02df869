// Instruction decoding for the emulated bus: the width and direction of memory accesses and
// the port instructions, from real encodings.
#include "X86Decoder.h"

#include <gtest/gtest.h>

namespace
{

struct AccessCase
{
    std::vector<uint8_t> code;
    const char* use; // "r" reads the operand, "w" only stores to it, "rw" both
    int size;
};

class DecodeAccess : public testing::TestWithParam<AccessCase>
{
};

TEST_P(DecodeAccess, KnowsWidthAndWhetherItReadsOrWrites)
{
    std::vector<uint8_t> code = GetParam().code;
    code.resize(16, 0x90);
    const simhost::MemoryAccess a = simhost::X86Decoder::decodeAccess(code.data());
    EXPECT_TRUE(a.known);
    EXPECT_EQ(std::string(a.reads ? "r" : "") + (a.writes ? "w" : ""), GetParam().use);
    EXPECT_EQ(a.size, GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(Encodings, DecodeAccess,
                         testing::Values(AccessCase{{0x88, 0x02}, "w", 1},             // mov [edx], al
                                         AccessCase{{0x89, 0x02}, "w", 4},             // mov [edx], eax
                                         AccessCase{{0x66, 0x89, 0x02}, "w", 2},       // mov [edx], ax
                                         AccessCase{{0xC6, 0x02, 0x01}, "w", 1},       // mov byte [edx], 1
                                         AccessCase{{0xC7, 0x02, 1, 0, 0, 0}, "w", 4}, // mov dword [edx], 1
                                         AccessCase{{0x66, 0xC7, 0x02, 1, 0}, "w", 2}, // mov word [edx], 1
                                         AccessCase{{0x0F, 0xB6, 0x02}, "r", 1},   // movzx eax, byte [edx]
                                         AccessCase{{0x0F, 0xB7, 0x02}, "r", 2},   // movzx eax, word [edx]
                                         AccessCase{{0x8A, 0x02}, "r", 1},         // mov al, [edx]
                                         AccessCase{{0x8B, 0x02}, "r", 4},         // mov eax, [edx]
                                         AccessCase{{0x80, 0x3A, 0x80}, "r", 1},   // cmp byte [edx], 0x80
                                         AccessCase{{0x80, 0x0A, 0x01}, "rw", 1},  // or byte [edx], 1
                                         AccessCase{{0x38, 0x02}, "r", 1},         // cmp [edx], al
                                         AccessCase{{0x84, 0x02}, "r", 1},         // test [edx], al
                                         AccessCase{{0xF6, 0x02, 0x01}, "r", 1},   // test byte [edx], 1
                                         AccessCase{{0xFE, 0x02}, "rw", 1},        // inc byte [edx]
                                         AccessCase{{0x86, 0x02}, "rw", 1},        // xchg [edx], al
                                         AccessCase{{0xA2, 0, 0, 0, 0}, "w", 1},   // mov [moffs], al
                                         AccessCase{{0x3E, 0x88, 0x02}, "w", 1},   // ds: mov [edx], al
                                         AccessCase{{0x0F, 0x94, 0x02}, "w", 1})); // sete [edx]

TEST(DecodeAccess, ReportsInstructionsItDoesNotKnow)
{
    std::vector<uint8_t> rep = {0xF3, 0xA4}; // rep movsb
    rep.resize(16, 0x90);
    EXPECT_FALSE(simhost::X86Decoder::decodeAccess(rep.data()).known);
}

struct PortCase
{
    std::vector<uint8_t> code;
    bool input;
    bool fromDx;
    int size;
    int length;
};

class DecodePort : public testing::TestWithParam<PortCase>
{
};

TEST_P(DecodePort, KnowsDirectionWidthPortSourceAndLength)
{
    std::vector<uint8_t> code = GetParam().code;
    code.resize(16, 0x90);
    const simhost::PortInstruction p = simhost::X86Decoder::decodePort(code.data());
    ASSERT_TRUE(p.valid);
    EXPECT_EQ(p.input, GetParam().input);
    EXPECT_EQ(p.fromDx, GetParam().fromDx);
    EXPECT_EQ(p.size, GetParam().size);
    EXPECT_EQ(p.length, GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, DecodePort,
    testing::Values(PortCase{{0xEC}, true, true, 1, 1}, PortCase{{0xED}, true, true, 4, 1},
                    PortCase{{0x66, 0xED}, true, true, 2, 2}, PortCase{{0xEE}, false, true, 1, 1},
                    PortCase{{0xEF}, false, true, 4, 1}, PortCase{{0xE4, 0x71}, true, false, 1, 2},
                    PortCase{{0xE6, 0x70}, false, false, 1, 2},
                    PortCase{{0x66, 0xE7, 0x70}, false, false, 2, 3}));

TEST(DecodePort, ImmediatePortIsTheSecondByteAndOtherOpcodesAreNotPorts)
{
    std::vector<uint8_t> code = {0xE4, 0x71};
    code.resize(16, 0x90);
    EXPECT_EQ(simhost::X86Decoder::decodePort(code.data()).immediate, 0x71);
    for (uint8_t op : {0x90, 0x88, 0xE8, 0xEB, 0x6C})
    {
        std::vector<uint8_t> other(16, 0x90);
        other[0] = op;
        EXPECT_FALSE(simhost::X86Decoder::decodePort(other.data()).valid) << int(op);
    }
}

} // namespace

namespace
{
struct LoadCase
{
    std::vector<uint8_t> code;
    bool valid;
    int reg;
    int size;
    int destSize;
    bool signExtend;
    int length;
};

class DecodeLoad : public testing::TestWithParam<LoadCase>
{
};

TEST_P(DecodeLoad, KnowsRegisterWidthAndLength)
{
    std::vector<uint8_t> code = GetParam().code;
    code.resize(16, 0x90);
    const simhost::LoadInstruction l = simhost::X86Decoder::decodeLoad(code.data());
    ASSERT_EQ(l.valid, GetParam().valid);
    if (!l.valid)
        return;
    EXPECT_EQ(l.reg, GetParam().reg);
    EXPECT_EQ(l.size, GetParam().size);
    EXPECT_EQ(l.destSize, GetParam().destSize);
    EXPECT_EQ(l.signExtend, GetParam().signExtend);
    EXPECT_EQ(l.length, GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, DecodeLoad,
    testing::Values(
        LoadCase{{0x0F, 0xB6, 0x02}, true, 0, 1, 4, false, 3},                   // movzx eax, byte [edx]
        LoadCase{{0x0F, 0xB6, 0x44, 0x24, 0x10}, true, 0, 1, 4, false, 5},       // movzx eax, [esp+0x10]
        LoadCase{{0x0F, 0xB6, 0x8A, 0x10, 0, 0, 0}, true, 1, 1, 4, false, 7},    // movzx ecx, [edx+0x10]
        LoadCase{{0x0F, 0xB6, 0x04, 0x0A}, true, 0, 1, 4, false, 4},             // movzx eax, [edx+ecx]
        LoadCase{{0x0F, 0xB6, 0x04, 0x25, 0, 0, 0, 0}, true, 0, 1, 4, false, 8}, // SIB, no base
        LoadCase{{0x0F, 0xB6, 0x05, 0, 0x10, 0, 0}, true, 0, 1, 4, false, 7},    // movzx eax, [disp32]
        LoadCase{{0x0F, 0xBE, 0x1A}, true, 3, 1, 4, true, 3},                    // movsx ebx, byte [edx]
        LoadCase{{0x0F, 0xB7, 0x32}, true, 6, 2, 4, false, 3},                   // movzx esi, word [edx]
        LoadCase{{0x0F, 0xBF, 0x3A}, true, 7, 2, 4, true, 3},                    // movsx edi, word [edx]
        LoadCase{{0x66, 0x0F, 0xB6, 0x02}, true, 0, 1, 2, false, 4},             // movzx ax, byte [edx]
        LoadCase{{0x8A, 0x62, 0x01}, true, 4, 1, 1, false, 3},                   // mov ah, [edx+1]
        LoadCase{{0x8B, 0x02}, true, 0, 4, 4, false, 2},                         // mov eax, [edx]
        LoadCase{{0x66, 0x8B, 0x0A}, true, 1, 2, 2, false, 3},                   // mov cx, [edx]
        LoadCase{{0x0F, 0xB6, 0xC2}, false, 0, 0, 0, false, 0},                  // register operand
        LoadCase{{0x80, 0x3A, 0x80}, false, 0, 0, 0, false, 0},                  // cmp byte [edx], 0x80
        LoadCase{{0x67, 0x8A, 0x07}, false, 0, 0, 0, false, 0},                  // 16-bit addressing
        LoadCase{{0x88, 0x02}, false, 0, 0, 0, false, 0}));                      // a store
} // namespace
