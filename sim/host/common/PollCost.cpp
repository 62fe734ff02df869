#include "PollCost.h"

#include <algorithm>

namespace simhost
{

int64_t PollCost::step(int64_t& spentNs, int64_t leastNs)
{
    const int64_t cost = std::clamp(spentNs / kShare, leastNs, kMaxNs);
    spentNs += cost;
    return cost;
}

bool PollCost::repeats() const
{
    const Access* newest = recent_ + count_ - 1;
    for (int period = 1; period <= kMaxPeriod && 2 * period <= count_; ++period)
    {
        bool same = true;
        bool anyRead = false;
        for (int i = 0; i < period && same; ++i)
        {
            same = newest[-i] == newest[-i - period];
            anyRead = anyRead || newest[-i].read;
            // A place that reads two values within one cycle is changing: the program sees news.
            for (int j = 0; j < i && same; ++j)
                same = !(newest[-i].read && newest[-j].read && newest[-i].where == newest[-j].where &&
                         newest[-i].value != newest[-j].value);
        }
        if (same && anyRead)
            return true;
    }
    return false;
}

int64_t PollCost::boardAccess(uint32_t where, uint32_t value, bool read)
{
    busyNs_ = 0;
    if (count_ == 2 * kMaxPeriod)
        std::copy(recent_ + 1, recent_ + count_--, recent_);
    recent_[count_++] = {where, value, read};
    if (!repeats())
        pollNs_ = 0;
    return step(pollNs_, kAccessNs);
}

int64_t PollCost::tscRead()
{
    return step(busyNs_, kTscReadNs);
}

void PollCost::waited()
{
    count_ = 0;
    pollNs_ = 0;
    busyNs_ = 0;
}

} // namespace simhost
