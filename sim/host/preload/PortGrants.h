// The I/O port permissions the process holds, as ioperm(2) and iopl(2) would grant them.
#pragma once

#include <bitset>
#include <cstdint>

namespace simhost
{

class PortGrants
{
public:
    static constexpr unsigned kPorts = 65536;

    // The kernel refuses an empty range and one beyond the port space (EINVAL).
    static bool validRange(unsigned long from, unsigned long count);
    void set(unsigned long from, unsigned long count, bool on);
    // iopl(2): level 3 opens every port.
    int level() const { return level_; }
    void setLevel(int level) { level_ = level; }
    bool granted(uint16_t port) const { return level_ == 3 || bits_.test(port); }

private:
    std::bitset<kPorts> bits_;
    int level_ = 0;
};

} // namespace simhost
