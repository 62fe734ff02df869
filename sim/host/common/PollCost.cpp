#include "PollCost.h"

namespace simhost
{

int64_t PollCost::boardAccess(uint32_t where, uint32_t value, bool read)
{
    tscCost_ = kTscReadNs;
    const bool repeat = read && lastValid_ && where == lastWhere_ && value == lastValue_;
    readCost_ = repeat ? (readCost_ * 2 < kMaxNs ? readCost_ * 2 : kMaxNs) : kAccessNs;
    lastValid_ = read;
    lastWhere_ = where;
    lastValue_ = value;
    return readCost_;
}

int64_t PollCost::tscRead()
{
    const int64_t cost = tscCost_;
    tscCost_ = tscCost_ * 2 < kMaxNs ? tscCost_ * 2 : kMaxNs;
    return cost;
}

} // namespace simhost
