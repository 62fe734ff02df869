// The driver's mappings as the product sees them: pages that stay inaccessible, so that every
// access traps into the fault handler and reaches the board model. A second, private mapping of
// the same memory (the alias) lets the handler put the model's bytes in place for one
// instruction and collect what the instruction stored.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace simhost
{

enum class AreaKind
{
    Comram, // bytes are communication RAM offsets
    IoArea  // bytes are I/O port numbers
};

struct MappedArea
{
    std::atomic<bool> used{false};
    uint8_t* user = nullptr;
    uint8_t* alias = nullptr;
    size_t mapLength = 0;     // whole pages
    uint32_t validLength = 0; // bytes the driver backs; beyond them the process faults
    AreaKind kind = AreaKind::Comram;
};

class MappedAreas
{
public:
    static constexpr int kMaxAreas = 16;

    // Null with errno set when the memory cannot be had.
    uint8_t* create(AreaKind kind, uint32_t validLength);
    // Unmaps an area that starts at `address`; false when no area starts there.
    bool release(void* address, AreaKind* kind);
    // Safe in a signal handler.
    MappedArea* find(const void* address);

private:
    MappedArea areas_[kMaxAreas];
};

} // namespace simhost
