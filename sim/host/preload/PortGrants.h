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

    // false (EINVAL) for a range beyond the port space, as the kernel refuses it.
    bool set(unsigned long from, unsigned long count, bool on);
    void setAll(bool on) { all_ = on; }
    bool granted(uint16_t port) const { return all_ || bits_.test(port); }

private:
    std::bitset<kPorts> bits_;
    bool all_ = false;
};

} // namespace simhost
