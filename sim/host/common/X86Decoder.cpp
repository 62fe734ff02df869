#include "X86Decoder.h"

namespace simhost
{

namespace
{

bool isPrefix(uint8_t b)
{
    switch (b)
    {
    case 0x66:
    case 0x67:
    case 0xF0:
    case 0xF2:
    case 0xF3:
    case 0x26:
    case 0x2E:
    case 0x36:
    case 0x3E:
    case 0x64:
    case 0x65:
        return true;
    default:
        return false;
    }
}

int regField(uint8_t modrm)
{
    return (modrm >> 3) & 7;
}

MemoryAccess store(int size)
{
    return MemoryAccess{true, true, size};
}
MemoryAccess plainStore(int size)
{
    return MemoryAccess{true, true, size, false};
}
MemoryAccess load(int size)
{
    return MemoryAccess{true, false, size};
}

MemoryAccess decodeTwoByte(const uint8_t* op, int opSize)
{
    const uint8_t b = op[0];
    const int wide = (b & 1) ? opSize : 1;
    if (b >= 0x40 && b <= 0x4F) // cmovcc
        return load(opSize);
    if (b == 0xB6 || b == 0xBE) // movzx, movsx from a byte
        return load(1);
    if (b == 0xB7 || b == 0xBF) // from a word
        return load(2);
    if (b == 0xA3) // bt
        return load(opSize);
    if (b >= 0x90 && b <= 0x9F) // setcc
        return plainStore(1);
    if (b == 0xB0 || b == 0xB1 || b == 0xC0 || b == 0xC1) // cmpxchg, xadd
        return store(wide);
    if (b == 0xAB || b == 0xB3 || b == 0xBB) // bts, btr, btc
        return store(opSize);
    if (b == 0xBA)
        return regField(op[1]) == 4 ? load(opSize) : store(opSize);
    return MemoryAccess{};
}

MemoryAccess decodeGroup(uint8_t b, uint8_t modrm, int opSize)
{
    const int reg = regField(modrm);
    const int wide = (b & 1) ? opSize : 1;
    switch (b)
    {
    case 0x80:
    case 0x82:
        return reg == 7 ? load(1) : store(1);
    case 0x81:
    case 0x83:
        return reg == 7 ? load(opSize) : store(opSize);
    case 0xF6:
    case 0xF7:
        return reg == 2 || reg == 3 ? store(wide) : load(wide);
    case 0xFE:
        return reg <= 1 ? store(1) : MemoryAccess{};
    default: // 0xFF
        return reg <= 1 ? store(opSize) : load(opSize);
    }
}

} // namespace

MemoryAccess X86Decoder::decodeAccess(const uint8_t* code)
{
    int opSize = 4;
    int i = 0;
    bool rep = false;
    while (i < 14 && isPrefix(code[i]))
    {
        if (code[i] == 0x66)
            opSize = 2;
        if (code[i] == 0xF2 || code[i] == 0xF3)
            rep = true;
        ++i;
    }
    const uint8_t* op = code + i;
    const uint8_t b = op[0];
    const int wide = (b & 1) ? opSize : 1;
    if (b == 0x0F)
        return decodeTwoByte(op + 1, opSize);
    if (b < 0x40 && (b & 7) < 4) // the eight ALU operations in their r/m forms
    {
        const bool toMemory = (b & 2) == 0;
        const bool compare = (b & 0x38) == 0x38;
        return toMemory && !compare ? store(wide) : load(wide);
    }
    switch (b)
    {
    case 0x88:
    case 0x89:
    case 0xC6:
    case 0xC7:
    case 0xA2:
    case 0xA3:
        return plainStore(wide);
    case 0x86:
    case 0x87:
    case 0xC0:
    case 0xC1:
    case 0xD0:
    case 0xD1:
    case 0xD2:
    case 0xD3:
        return store(wide);
    case 0x8A:
    case 0x8B:
    case 0x84:
    case 0x85:
    case 0xA0:
    case 0xA1:
        return load(wide);
    case 0xAA:
    case 0xAB:
        return rep ? MemoryAccess{} : plainStore(wide);
    case 0x8F:
        return plainStore(opSize);
    case 0x80:
    case 0x81:
    case 0x82:
    case 0x83:
    case 0xF6:
    case 0xF7:
    case 0xFE:
    case 0xFF:
        return decodeGroup(b, op[1], opSize);
    default:
        return MemoryAccess{};
    }
}

namespace
{
// Bytes taken by a ModRM memory operand with 32-bit addressing (ModRM, SIB, displacement);
// 0 for a register operand, which cannot fault on the bus.
int memoryOperandLength(const uint8_t* modrmByte)
{
    const uint8_t modrm = modrmByte[0];
    const int mod = modrm >> 6;
    const int rm = modrm & 7;
    if (mod == 3)
        return 0;
    int length = 1;
    if (rm == 4)
    {
        const int base = modrmByte[1] & 7;
        ++length;
        if (mod == 0 && base == 5)
            length += 4;
    }
    else if (mod == 0 && rm == 5)
        length += 4;
    if (mod == 1)
        length += 1;
    else if (mod == 2)
        length += 4;
    return length;
}
} // namespace

LoadInstruction X86Decoder::decodeLoad(const uint8_t* code)
{
    LoadInstruction load;
    int i = 0;
    int opSize = 4;
    for (; i < 4; ++i)
    {
        if (code[i] == 0x66)
            opSize = 2;
        else if (code[i] == 0x3E || code[i] == 0x26 || code[i] == 0x36 || code[i] == 0x2E)
            continue; // segment overrides that change nothing in a flat address space
        else if (isPrefix(code[i]))
            return load; // address-size, lock, rep, fs/gs: left to the real instruction
        else
            break;
    }
    const uint8_t* op = code + i;
    const uint8_t* modrm = nullptr;
    if (op[0] == 0x8A || op[0] == 0x8B)
    {
        modrm = op + 1;
        load.size = op[0] == 0x8A ? 1 : opSize;
        load.destSize = load.size;
    }
    else if (op[0] == 0x0F && (op[1] == 0xB6 || op[1] == 0xB7 || op[1] == 0xBE || op[1] == 0xBF))
    {
        modrm = op + 2;
        load.size = (op[1] & 1) ? 2 : 1;
        load.destSize = opSize;
        load.signExtend = op[1] >= 0xBE;
    }
    else
        return load;
    const int operand = memoryOperandLength(modrm);
    if (operand == 0)
        return load;
    load.reg = regField(modrm[0]);
    load.length = static_cast<int>(modrm - code) + operand;
    load.valid = true;
    return load;
}

PortInstruction X86Decoder::decodePort(const uint8_t* code)
{
    PortInstruction p;
    int i = 0;
    int opSize = 4;
    if (code[0] == 0x66)
    {
        opSize = 2;
        i = 1;
    }
    const uint8_t b = code[i];
    if (b < 0xE4 || (b > 0xE7 && b < 0xEC) || b > 0xEF)
        return p;
    p.valid = true;
    p.input = (b & 2) == 0;
    p.size = (b & 1) ? opSize : 1;
    p.fromDx = b >= 0xEC;
    if (p.fromDx)
        p.length = i + 1;
    else
    {
        p.immediate = code[i + 1];
        p.length = i + 2;
    }
    return p;
}

} // namespace simhost
