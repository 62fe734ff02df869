// A status that the board is still writing when the command's time runs out.
#include "ToolboxRun.h"

#include <gtest/gtest.h>

namespace
{
TEST(StatusAtDeadlineTest, IsTakenOnceSettledAndAByteThatNeverSettlesTimesOut)
{
    struct SCase
    {
        const char* Fault;
        Args Ops;
        const char* Command; // index of the command under test, the last operation
        const char* Result;
        int64_t MinMs;
    } const cases[] = {
        // 400 reads of trapped bus accesses outlast the 1 ms deadline; then the 0 settles.
        {"status-flicker=400",
         {"reset", "dpram", "10", "bootstrap", "20", "exec", "0x01", "1", "0", "0"},
         "3",
         "0",
         1},
        {"status-flicker", {"reset", "dpram", "10", "exec", "0x01", "300", "0", "0"}, "2", "4294967295", 300},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.Fault);
        const SSimResult run = ToolboxRun({"--board", "Q5K", "--fault", c.Fault}, c.Ops);
        const std::string last = c.Command;
        EXPECT_EQ(run.Value(last + ".result"), c.Result) << run.Out;
        EXPECT_GE(std::stoll(run.Value(last + ".ms")), c.MinMs) << "ended before its deadline";
    }
}
} // namespace
