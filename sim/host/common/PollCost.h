// What the program's own activity costs in reproducible virtual time. A board access costs
// kAccessNs. An access that carries on a repeating pattern is a poll step: the same read of the
// same value, or a cycle of up to kMaxPeriod accesses with a read in it (an index write and a
// status read), in which no place reads two values, with no sleep or wait in between. A
// time-stamp counter read with no board access since the one before is a busy-wait step. A step
// costs 1/kShare of the time its poll or busy-wait has run so far, at least one access and at
// most kMaxNs: long polls run through their virtual timeouts in a few thousand steps, and no wait
// ends more than a sixteenth (or kMaxNs) after its deadline, so 10 ms and 12 ms stay apart.
#pragma once

#include <cstdint>

namespace simhost
{

class PollCost
{
public:
    static constexpr int64_t kAccessNs = 1'000;
    static constexpr int64_t kTscReadNs = 1'000;
    static constexpr int64_t kMaxNs = 1'000'000;
    static constexpr int64_t kShare = 16;
    static constexpr int kMaxPeriod = 4;

    // `where` tells the place apart (area and offset), `value` is what was read or written.
    int64_t boardAccess(uint32_t where, uint32_t value, bool read);
    int64_t tscRead();
    // A sleep or a timed wait: the next access starts a poll afresh.
    void waited();

private:
    struct Access
    {
        uint32_t where;
        uint32_t value;
        bool read;
        bool operator==(const Access& o) const
        {
            return where == o.where && value == o.value && read == o.read;
        }
    };

    bool repeats() const;
    static int64_t step(int64_t& spentNs, int64_t leastNs);

    Access recent_[2 * kMaxPeriod] = {}; // the newest last
    int count_ = 0;
    int64_t pollNs_ = 0;
    int64_t busyNs_ = 0;
};

} // namespace simhost
