#include "PortGrants.h"

namespace simhost
{

bool PortGrants::validRange(unsigned long from, unsigned long count)
{
    return count != 0 && from < kPorts && count <= kPorts - from;
}

void PortGrants::set(unsigned long from, unsigned long count, bool on)
{
    for (unsigned long port = from; port < from + count; ++port)
        bits_.set(port, on);
}

} // namespace simhost
