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
    int prot = 0;             // PROT_READ, PROT_WRITE as mmap got them
    bool mayWrite = false;    // mprotect may add PROT_WRITE: private, or shared on a writable descriptor
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
    static constexpr int kMaxPages = 8; // the communication RAM's
    int pageProt[kMaxPages] = {};
    uint8_t copiedPages = 0; // private mapping: pages that are the process's own copy

    // x86 pages that can be written can be read.
    bool readable(uint32_t offset) const;
    bool writable(uint32_t offset) const;
    // Opens a private page for good once it holds the process's copy.
    bool markCopied(uint32_t offset);
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
    // mprotect(2) on an area: 0 or the errno the kernel answers.
    static int protect(MappedArea& area, void* address, size_t length, int prot);

private:
    MappedArea areas_[kMaxAreas];
};

} // namespace simhost
