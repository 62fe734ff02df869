// The system logger of the sandbox: the C library's datagrams read into ident, facility,
// priority, pid and text, and the JSON lines of --syslog.
#include "SyslogCollector.h"
#include "SimHarness.h"

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

class SyslogParse : public testing::TestWithParam<ParseCase>
{
};

TEST_P(SyslogParse, SplitsTheCLibrarysMessageFormat)
{
    simhost::SyslogMessage m;
    ASSERT_TRUE(simhost::SyslogCollector::parse(GetParam().datagram, &m));
    EXPECT_EQ(m.facility, GetParam().facility);
    EXPECT_EQ(m.priority, GetParam().priority);
    EXPECT_EQ(m.ident, GetParam().ident);
    EXPECT_EQ(m.pid, GetParam().pid);
    EXPECT_EQ(m.text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, SyslogParse,
    testing::Values(
        ParseCase{"<11>Mar  1 12:00:00 Sarvik: ::Connect: failed, x", 1, 3, "Sarvik", -1,
                  "::Connect: failed, x"},
        ParseCase{"<12>Jan 10 01:02:03 GenlockDriverApi::GenlockDriverApi[42]: Enter In ComramDriverApi()", 1,
                  4, "GenlockDriverApi::GenlockDriverApi", 42, "Enter In ComramDriverApi()"},
        ParseCase{"<30>Dec 31 23:59:59 modprobe[7]: FATAL: Module x", 3, 6, "modprobe", 7, "FATAL: Module x"},
        ParseCase{"<14>Jul  4 00:00:00 X: text: with colon\n", 1, 6, "X", -1, "text: with colon"}));

TEST(SyslogParse, RejectsWhatIsNotASyslogDatagram)
{
    simhost::SyslogMessage m;
    for (const char* bad : {"", "hello", "<>x", "<12345>x"})
        EXPECT_FALSE(simhost::SyslogCollector::parse(bad, &m)) << bad;
}

TEST(SyslogCollector, WritesEachMessageOfTheRunAsAJsonLineWithThePid)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--syslog", h.path("syslog")}, {"syslog", "Probe", "hello \"world\""});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto lines = SimHarness::lines(SimHarness::readFile(h.path("syslog")));
    ASSERT_EQ(lines.size(), 1u);
    const std::string& line = lines[0];
    EXPECT_NE(line.find("\"ident\":\"Probe\",\"facility\":1,\"priority\":3,\"pid\":"), std::string::npos)
        << line;
    EXPECT_EQ(line.find("\"pid\":-1"), std::string::npos) << line;
    EXPECT_NE(line.find("\"message\":\"hello \\\"world\\\"\"}"), std::string::npos) << line;
}

} // namespace
