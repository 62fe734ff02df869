// The system logger of the sandbox: the C library's datagrams read into ident, facility,
// priority, pid and text.
#include "SyslogCollector.h"
#include <gtest/gtest.h>

namespace
{

struct ParseCase
{
    const char* datagram;
    int facility;
    int priority;
    const char* ident;
    long pid;
    const char* text;
};

TEST(SyslogCollector, SplitsTheCLibrarysMessageFormatAndRejectsOthers)
{
    const ParseCase cases[] = {
        {"<11>Mar  1 12:00:00 Sarvik: ::Connect: failed, x", 1, 3, "Sarvik", -1, "::Connect: failed, x"},
        {"<12>Jan 10 01:02:03 Genlock::Genlock[42]: Enter In X()", 1, 4, "Genlock::Genlock", 42,
         "Enter In X()"},
        {"<30>Dec 31 23:59:59 modprobe[7]: FATAL: Module x", 3, 6, "modprobe", 7, "FATAL: Module x"},
        {"<14>Jul  4 00:00:00 X: text: with colon\n", 1, 6, "X", -1, "text: with colon"},
    };
    for (const ParseCase& c : cases)
    {
        simhost::SyslogMessage m;
        ASSERT_TRUE(simhost::SyslogCollector::parse(c.datagram, &m)) << c.datagram;
        EXPECT_EQ(std::tuple(m.facility, m.priority, m.ident, m.pid, m.text),
                  std::tuple(c.facility, c.priority, std::string(c.ident), c.pid, std::string(c.text)));
    }
    simhost::SyslogMessage m;
    for (const char* bad : {"", "hello", "<>x", "<12345>x"})
        EXPECT_FALSE(simhost::SyslogCollector::parse(bad, &m)) << bad;
}

} // namespace
