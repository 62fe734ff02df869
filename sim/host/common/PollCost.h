// What the program's own activity costs in reproducible virtual time. A board access costs
// kAccessNs; a read that finds the same place holding the same value as the access before it
// (a poll with nothing else touching the board, no sleep or wait in between) costs twice the
// read before it, up to kMaxNs. A time-stamp counter read costs kTscReadNs, and twice the one
// before while no board access comes between them (a busy-wait), up to kMaxNs. Long polls and
// busy-waits thus run through their virtual timeouts in a few thousand steps.
#pragma once

#include <cstdint>

namespace simhost
{

class PollCost
{
public:
    static constexpr int64_t kAccessNs = 1'000;
    static constexpr int64_t kTscReadNs = 1'000;
    static constexpr int64_t kMaxNs = 10'000'000;

    // `where` tells the place apart (area and offset), `value` is what a read found.
    int64_t boardAccess(uint32_t where, uint32_t value, bool read);
    int64_t tscRead();
    // A sleep or a timed wait: the next read starts a poll afresh.
    void waited() { lastValid_ = false; }

private:
    bool lastValid_ = false;
    uint32_t lastWhere_ = 0;
    uint32_t lastValue_ = 0;
    int64_t readCost_ = kAccessNs;
    int64_t tscCost_ = kTscReadNs;
};

} // namespace simhost
