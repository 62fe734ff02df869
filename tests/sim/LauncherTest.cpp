// sarvik-sim as a command: what its command sees of the server (nodes, modules, system log, clocks,
// /mnt/APPS), what it passes through, and how it refuses a command line (2) or files (125) it
// cannot use: one line on standard error, no command run.
#include "SimCheck.h"
#include "SyslogCollector.h"

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

const char* const kAppsLog = "-- /bin/sh -c ls+-A+/mnt/APPS/data/log;echo+x>/mnt/APPS/data/log/f;ls+/dev/log";
#define kStopped "-- /bin/sh -c echo+$SARVIK_SIM_RUN>>@/runs;kill+-"
#define kStoppedEnd "+$PPID;sleep+2;echo+alive"
const char* const kRootLog =
    "--root @/apps -- /bin/sh -c echo+x>>/mnt/APPS/data/log/f;wc+-c</mnt/APPS/data/log/f";

TEST(Launcher, RunsTheCommandInTheSimulatedServerOrRefusesBadInput)
{
    CSimRun h;
    ASSERT_EQ(mkdir(h.Path("folder").c_str(), 0755), 0);
    ASSERT_EQ(mkfifo(h.Path("fifo").c_str(), 0644), 0);
    std::ofstream(h.Path("short.bin")) << "short\n";
    const RunCase cases[] = {
        {"-- PROBE exit 255", 255, "out", "err\n"},
        {"-- PROBE kill 15", 128 + 15, ""},
        {"-- /nonexistent/program", 127, "", "sarvik-sim: execvp(/nonexistent/program)"},
        {"--pty yes -- tty -s", 0, ""},
        {"-- tty -s", 1, ""},
        {"-- PROBE nodes", 0, "comram0=present timecode0=present zq8_0=present"},
        {"--host-board 0 -- PROBE nodes", 0, "comram0=present timecode0=present zq8_0=absent"},
        {"--modules-loaded no -- PROBE nodes", 0, "comram0=absent timecode0=absent zq8_0=present"},
        {"--fault no-drivers -- PROBE nodes", 0, "comram0=absent timecode0=absent zq8_0=absent"},
        {"--modules-loaded no -- PROBE modprobe modprobe+-s+drv_comram", 0,
         "status=0 comram0=present timecode0=absent", "", "ev:modprobe,module:drv_comram,status:0"},
        {"-- PROBE modprobe rmmod+drv_timecode", 0, "status=0 timecode0=absent"},
        {"--modules-loaded no -- PROBE modprobe rmmod+drv_timecode", 0, "status=1"},
        {"--fault no-drivers -- PROBE modprobe modprobe+-s+drv_comram", 0, "status=1 comram0=absent"},
        // The system logger writes each message as a JSON line with its pid, its quotes escaped.
        {"-- PROBE syslog Probe hello+\"world\"", 0, "", "",
         "1*ev:syslog,ident:Probe,facility:1,priority:3,pid:|!pid:-1|message:hello \\world\\}"},
        {"-- PROBE sleep 10000", 0, "virtual_ms=10000 tsc_ms=10000"},
        {"--date 2040-01-01T12:00:00 -- PROBE date", 0, "time64=1 year=2040"},
        {"--date 2031-06-15+08:30 -- PROBE date", 0, "time64=1 year=2031"},
        {kRootLog, 0, "2"},
        {kRootLog, 0, "4"},
        {kAppsLog, 0, "/dev/log !f"},
        {"", 2, "", "sarvik-sim: no command to run"},
        {"--speed 0", 2, "!ran", "sarvik-sim: --speed 0: not a number from 0.001 to 1000000"},
        {"--speed 0.0001", 2, "!ran", "sarvik-sim: --speed 0.0001: not a number from 0.001 to 1000000"},
        {"--speed fast", 2, "!ran", "sarvik-sim: --speed fast: not a number"},
        {"--host-board 2", 2, "!ran", "sarvik-sim: unknown option or bad value: --host-board 2"},
        {"--modules-loaded maybe", 2, "!ran", "sarvik-sim: unknown option or bad value"},
        {"--no-such-option x", 2, "!ran", "sarvik-sim: unknown option or bad value"},
        {"--date not+a+date", 2, "!ran", "sarvik-sim: --date not a date: date(1) cannot read"},
        {"--date 1969-12-31T23:59:59Z", 2, "!ran", "sarvik-sim: --date 1969-12-31T23:59:59Z: out of range"},
        {"--date 2262-01-01T00:00:00Z", 2, "!ran", "sarvik-sim: --date 2262-01-01T00:00:00Z: out of range"},
        {"--eeprom @/folder", 125, "!ran", "sarvik-sim: --eeprom @/folder: a folder, not an EEPROM image"},
        {"--eeprom @/fifo", 125, "!ran", "sarvik-sim: --eeprom @/fifo: not a regular file"},
        {"--eeprom @/short.bin/x", 125, "!ran", "sarvik-sim: --eeprom @/short.bin/x: Not a directory"},
        {"--eeprom @/short.bin", 125, "!ran",
         "sarvik-sim: @/short.bin: an EEPROM image holds 32768 bytes, this file 6"},
        {"--trace @/folder", 125, "!ran", "sarvik-sim: open(@/folder): Is a directory"},
        {"--syslog @/missing/syslog", 125, "!ran",
         "sarvik-sim: open(@/missing/syslog): No such file or directory"},
        // Stopped by a signal, the launcher ends the command and removes its run folder, where the
        // root-owned set-user-ID copies of the interposer lie.
        {kStopped "INT" kStoppedEnd, 128 + 2, "!alive"},
        {kStopped "TERM" kStoppedEnd, 128 + 15, "!alive"},
    };
    ExpectRuns(h, cases);
    const Args runs = Words(CSimRun::ReadText(h.Path("runs")));
    EXPECT_EQ(runs.size(), 2u);
    for (const std::string& run : runs)
        EXPECT_TRUE(run.rfind("/tmp/sarvik-sim.", 0) == 0 && access(run.c_str(), F_OK) != 0) << run;
    EXPECT_EQ(CSimRun::ReadText(h.Path("short.bin")), "short\n");
    EXPECT_NE(access("/mnt/APPS/data/log/f", F_OK), 0) << "the host's own /mnt/APPS is never written";
}

// The system logger's parser: the ordinary messages reach every run's log; here the forms those
// runs never send.
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
