#include "PortGrants.h"

namespace simhost
{

bool PortGrants::set(unsigned long from, unsigned long count, bool on)
{
    if (from >= kPorts || count > kPorts - from)
        return false;
    for (unsigned long port = from; port < from + count; ++port)
        bits_.set(port, on);
    return true;
}

} // namespace simhost
