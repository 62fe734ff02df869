// sarvik-sim as a command, one run per row: what a command sees of the simulated server (nodes
// per host board and driver state, module commands, the driver's record and ioctls, loads and
// stores on the board, its commands, the clocks, /mnt/APPS), what the launcher passes through
// from it, and how the launcher refuses a command line (2) or files (125) it cannot use: one line
// on standard error and no command run.
#include "SimCheck.h"

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

struct RunCase
{
    // Blank-separated words, '+' a blank inside one, "@/" the scratch folder, PROBE sim-probe;
    // without "--", the command "echo ran" follows.
    const char* command;
    int status;
    const char* out;        // words standard output holds ("!word": lacks)
    const char* err = "";   // how standard error begins
    const char* trace = ""; // a fragment of the protocol trace ("!...": one it lacks)
};

std::string Scratch(std::string text, const std::string& scratch)
{
    for (size_t at; (at = text.find("@/")) != std::string::npos;)
        text.replace(at, 2, scratch);
    return text;
}

const char* const kAbsent = "comram0=absent timecode0=absent zq8_0=absent";
const char* const kAppsLog = "-- /bin/sh -c ls+-A+/mnt/APPS/data/log;echo+x>/mnt/APPS/data/log/f;ls+/dev/log";
const char* const kRootLog =
    "--root @/apps -- /bin/sh -c echo+x>>/mnt/APPS/data/log/f;wc+-c</mnt/APPS/data/log/f";

TEST(Launcher, RunsTheCommandInTheSimulatedServerOrRefusesBadInput)
{
    const RunCase cases[] = {
        {"-- PROBE exit 0", 0, "out", "err\n"},
        {"-- PROBE exit 3", 3, "out", "err\n"},
        {"-- PROBE exit 255", 255, "out", "err\n"},
        {"-- PROBE kill 15", 128 + 15, ""},
        {"-- PROBE kill 6", 128 + 6, ""},
        {"-- /nonexistent/program", 127, "", "sarvik-sim: execvp(/nonexistent/program)"},
        {"--pty yes -- tty -s", 0, ""},
        {"-- tty -s", 1, ""},
        {"-- PROBE nodes", 0, "comram0=present timecode0=present zq8_0=present"},
        {"--host-board 0 -- PROBE nodes", 0, "comram0=present timecode0=present zq8_0=absent"},
        {"--modules-loaded no -- PROBE nodes", 0, "comram0=absent timecode0=absent zq8_0=present"},
        {"--fault no-drivers -- PROBE nodes", 0, kAbsent},
        {"--modules-loaded no -- PROBE modprobe modprobe+-s+drv_comram", 0,
         "status=0 comram0=present timecode0=absent", "",
         "\"ev\":\"modprobe\",\"module\":\"drv_comram\",\"status\":0"},
        // Tools that run modprobe with a fixed PATH and a clean environment meet the simulated one.
        {"--modules-loaded no -- PROBE modprobe "
         "env+-i+PATH=/usr/sbin:/usr/bin:/sbin:/bin+modprobe+-s+drv_timecode",
         0, "status=0 timecode0=present"},
        {"-- PROBE modprobe rmmod+drv_timecode", 0, "status=0 timecode0=absent"},
        {"--modules-loaded no -- PROBE modprobe rmmod+drv_timecode", 0, "status=1"},
        {"--fault no-drivers -- PROBE modprobe modprobe+-s+drv_comram", 0, "status=1 comram0=absent"},
        {"-- PROBE config", 0, "word1=0x100000 word2=0x8000 word4=0x0 word5=0x400 timecode_init=0"},
        {"-- PROBE config", 0, "init=0 shutdown=0 bogus=-1"},
        {"--host-board 0 -- PROBE config", 0, "", "", "!\"area\":\"io\""},
        {"-- PROBE inb 0x350", 128 + 11, ""},
        {"-- PROBE board", 0, "ram8=0x5a ram16=0x1234 ram32=0xcafef00d byte1005=0xf0", "",
         "\"ev\":\"reset\",\"line\":1"},
        // A high-byte load, a 16-bit load and a sign-extending load from the board's RAM.
        {"-- PROBE board", 0,
         "ah=0x1122f044 ax=0x1122f00d movsx=-16 ram_ready=1 presence=0 ident_status=0 ident=0xb2"},
        {"--ident 0xC3 -- PROBE board", 0, "ram_ready=1 ident_status=0 ident=0xc3", "", "\"op\":\"0x05\""},
        {"--host-board 0 -- PROBE board", 0, "ram_ready=1 ident=0xb2", "",
         "\"from\":\"0x000\",\"count\":1024,\"on\":1"},
        {"--board Q7K -- PROBE q7k", 0, "area_reg0=0xd1 port_reg0=0xd1", "",
         "\"ev\":\"reg\",\"port\":\"0x351\",\"value\":\"0x00\",\"dir\":\"w\""},
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
    };
    CSimRun h;
    const std::string scratch = h.Path("");
    ASSERT_EQ(mkdir(h.Path("folder").c_str(), 0755), 0);
    ASSERT_EQ(mkfifo(h.Path("fifo").c_str(), 0644), 0);
    std::ofstream(h.Path("short.bin")) << "short\n";
    for (const RunCase& c : cases)
    {
        SCOPED_TRACE(c.command);
        Args args = *c.trace ? Args{"--trace", h.Path("trace")} : Args{};
        for (std::string word : Words(Scratch(c.command, scratch)))
        {
            std::replace(word.begin(), word.end(), '+', ' ');
            args.push_back(word);
        }
        if (*c.command && std::find(args.begin(), args.end(), "--") == args.end())
            args.insert(args.end(), {"--", "echo", "ran"});
        const SSimResult r = Sim(h, args);
        EXPECT_EQ(r.Status, c.status) << r.Err;
        const Args out = Words(r.Out);
        for (const std::string& word : Words(c.out))
            EXPECT_EQ(std::count(out.begin(), out.end(), word.substr(word[0] == '!')), word[0] != '!')
                << word;
        EXPECT_EQ(r.Err.rfind(Scratch(c.err, scratch), 0), 0u) << r.Err;
        const bool lacks = c.trace[0] == '!';
        EXPECT_EQ(CSimRun::ReadText(h.Path("trace")).find(c.trace + lacks) == std::string::npos, lacks)
            << c.trace;
    }
    EXPECT_EQ(CSimRun::ReadText(h.Path("short.bin")), "short\n");
    EXPECT_NE(access("/mnt/APPS/data/log/f", F_OK), 0) << "the host's own /mnt/APPS is never written";
}

// Stopped by a signal, the launcher stops the command and removes its run folder, where the
// root-owned set-user-ID copies of the interposer lie.
TEST(Launcher, StoppedBySigintOrSigtermItEndsTheCommandAndLeavesNothingBehind)
{
    CSimRun h;
    for (const auto& [name, status] : {std::pair{"INT", 128 + 2}, std::pair{"TERM", 128 + 15}})
    {
        const std::string script =
            "echo $SARVIK_SIM_RUN > " + h.Path("run") + "; kill -" + name + " $PPID; sleep 2; echo alive";
        const SSimResult r = Sim(h, {"--", "/bin/sh", "-c", script});
        EXPECT_EQ(r.Status, status) << name << r.Err;
        EXPECT_EQ(r.Out, "") << name;
        const std::string run = Words(CSimRun::ReadText(h.Path("run"))).at(0);
        EXPECT_EQ(run.rfind("/tmp/sarvik-sim.", 0), 0u) << run;
        EXPECT_NE(access(run.c_str(), F_OK), 0) << run;
    }
}

} // namespace
