// The system logger of the sandbox: the C library's datagrams read into ident, facility,
// priority, pid and text.
#include "SyslogCollector.h"
#include <gtest/gtest.h>

namespace
{

// The ordinary messages reach every run's log; here the forms those runs never send.
TEST(SyslogCollector, SplitsTheCLibrarysMessageFormatAndRejectsOthers)
{
    simhost::SyslogMessage m;
    ASSERT_TRUE(simhost::SyslogCollector::parse("<30>Dec 31 23:59:59 modprobe[7]: FATAL: Module x\n", &m));
    EXPECT_EQ(std::tuple(m.facility, m.priority, m.ident, m.pid, m.text),
              std::tuple(3, 6, std::string("modprobe"), 7L, std::string("FATAL: Module x")));
    for (const char* bad : {"", "hello", "<>x", "<12345>x"})
        EXPECT_FALSE(simhost::SyslogCollector::parse(bad, &m)) << bad;
}

} // namespace
