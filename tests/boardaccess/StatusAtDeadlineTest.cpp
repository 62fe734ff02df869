// A status that the board is still writing when the command's time runs out.
#include "SimRun.h"

#include <gtest/gtest.h>

namespace
{
TEST(StatusAtDeadlineTest, IsTakenOnceSettledAndAByteThatNeverSettlesTimesOut)
{
    struct SCase
    {
        const char* pFault_c;
        std::vector<std::string> Ops_X; // the last one is the command under test
        uint32_t Result_U32;
    } const cases[] = {
        // 400 reads of trapped bus accesses outlast the 1 ms deadline; then the 0 settles.
        {"status-flicker=400", {"reset", "dpram", "10", "bootstrap", "20", "exec", "0x01", "1", "0", "0"}, 0},
        {"status-flicker", {"reset", "dpram", "10", "exec", "0x01", "300", "0", "0"}, 0xFFFFFFFF},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.pFault_c);
        const SSimRun run = RunProbe({"--board", "Q5K", "--fault", c.pFault_c}, c.Ops_X);
        const Json::Value& command = run.Op(run.Output_X["ops"].size() - 1);
        EXPECT_EQ(command["result"].asUInt(), c.Result_U32) << run.Stdout_S;
        EXPECT_GE(command["elapsedMs"].asInt64(), c.Result_U32 == 0 ? 1 : 300) << "ended before its deadline";
    }
}
} // namespace
