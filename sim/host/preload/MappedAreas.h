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

// What the process asked for: the part of the driver's area it maps and how.
struct AreaRequest
{
    AreaKind kind = AreaKind::Comram;
    uint32_t base = 0;        // area offset of the mapping's first byte
    uint32_t mapLength = 0;   // whole pages
    uint32_t validLength = 0; // bytes the driver backs from base; beyond them the process faults
    bool readable = true;
    bool writable = true;
    // A private mapping sees the board until the process stores into a page; that page is then
    // the process's own copy, as the kernel's copy-on-write makes it.
    bool privateCopy = false;
    void* address = nullptr; // the caller's address hint
    int fixedFlags = 0;      // MAP_FIXED or MAP_FIXED_NOREPLACE as the caller gave them
};

struct MappedArea
{
    std::atomic<bool> used{false};
    uint8_t* user = nullptr;
    uint8_t* alias = nullptr;
    AreaRequest request;
};

class MappedAreas
{
public:
    static constexpr int kMaxAreas = 16;

    // Null with errno set when the memory cannot be had.
    uint8_t* create(const AreaRequest& request);
    // Unmaps an area that starts at `address`; false when no area starts there.
    bool release(void* address, AreaKind* kind);
    // Safe in a signal handler.
    MappedArea* find(const void* address);

private:
    MappedArea areas_[kMaxAreas];
};

} // namespace simhost
