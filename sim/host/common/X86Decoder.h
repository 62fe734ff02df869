// Just enough of the 32-bit x86 instruction set to emulate the product's accesses to the
// board: which bytes a memory instruction stores, and what a port instruction does.
#pragma once

#include <cstdint>

namespace simhost
{

struct MemoryAccess
{
    bool known = false; // false: an opcode this decoder does not know
    bool writes = false;
    int size = 0;      // bytes read or written at the faulting address
    bool reads = true; // false for a plain store, which never looks at what was there
};

struct PortInstruction
{
    bool valid = false;
    bool input = false;  // in (true) or out (false)
    bool fromDx = false; // port in DX, else the immediate byte
    uint8_t immediate = 0;
    int size = 0;   // 1, 2 or 4 bytes
    int length = 0; // instruction length in bytes, prefix included
};

// A plain load from memory into a general register (mov, movzx, movsx), which the bus can
// emulate without running the instruction.
struct LoadInstruction
{
    bool valid = false;
    int reg = 0;      // destination register number (0 eax ... 7 edi; 4..7 are ah..bh for byte moves)
    int size = 0;     // bytes read: 1, 2 or 4
    int destSize = 0; // bytes of the register written: 1, 2 or 4
    bool signExtend = false;
    int length = 0; // instruction length in bytes, prefixes included
};

class X86Decoder
{
public:
    // Only the 32-bit addressing forms; anything else is not valid (the caller runs it instead).
    static LoadInstruction decodeLoad(const uint8_t* code);
    // `code` must point at least 16 readable bytes (the longest instruction).
    static MemoryAccess decodeAccess(const uint8_t* code);
    static PortInstruction decodePort(const uint8_t* code);
};

} // namespace simhost
