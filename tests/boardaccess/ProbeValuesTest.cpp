// What sim-probe prints after the start-up and toolbox operations, the driver start-up with a
// mask and the interrupt thread raised by a fresh module load: one fresh simulated server a row.
#include "ToolboxRun.h"

namespace
{
struct SValuesCase
{
    const char* Name;
    const char* Options;     // sarvik-sim's
    const char* Probe;       // sim-probe's arguments
    const char* Values;      // key=value words its output holds
    const char* Counts = ""; // trace events it leaves, as Counted reads them
};

using ProbeValuesTest = testing::TestWithParam<SValuesCase>;

TEST_P(ProbeValuesTest, PrintsWhatTheRowExpects)
{
    const SValuesCase& c = GetParam();
    CSimRun sim;
    Args command = Words(c.Probe);
    command.insert(command.begin(), CSimRun::S_Probe);
    const SSimResult run = sim.Run(Words(c.Options), command);
    ASSERT_EQ(run.Status, 0) << run.Out << run.Err;
    EXPECT_EQ(Printed(run, c.Values), c.Values);
    EXPECT_EQ(Counted(run, c.Counts), c.Counts);
}

const char* const PRESENCE = "toolbox reset dpram 10 bootstrap 20 exec 0x01 1000 0 0";
const char* const PRESENCE_1MS = "toolbox reset dpram 10 bootstrap 20 exec 0x01 1 0 0";
const char* const STUCK = "toolbox reset dpram 10 exec 0x01 300 0 0";
#define KV_API "--host-board 0 --fault no-module="
#define STUCK_ZEBX "--board ZEBX --ident 0x12 --fault i2c-stuck"

const SValuesCase ROWS[] = {
    // A wake-up returns its code after the attempts its rule allows; each attempt's reset pulse
    // asserts the line twice.
    {"reset_stuck", "--fault reset-stuck", "toolbox wakeup 2", "0.result=1", "reset:line=1*4"},
    {"ram_check", "--fault ram-check-fail", "toolbox wakeup 2", "0.result=1", "reset:line=1*4"},
    {"ident", "--fault ident-fail=0x21", "toolbox wakeup 2", "0.result=3", "reset:line=1*2"},
    {"version", "--fault version-fail=0x22", "toolbox wakeup 2", "0.result=4", "reset:line=1*2"},
    {"wakeup_step", "--fault wakeup-step-fail=0x23", "toolbox wakeup 2", "0.result=5", "reset:line=1*2"},
    {"i2c_stuck_hard", "--fault i2c-stuck-hard", "toolbox wakeup 2", "0.result=6", "reset:line=1*4"},
    // Through interface 0 the flag at 0x0003 lands on the address's second byte, so the bus reset
    // misses the GPIO pins; through interface 1 it reaches them and the next attempt succeeds.
    // One bus reset (two writes to its register) per failed attempt.
    {"i2c_stuck_iface0", STUCK_ZEBX, "toolbox wakeup 3", "0.result=6",
     "reset:line=1*6 cmd:op=0x90*3 cmd:op=0x81*6"},
    {"i2c_stuck_iface1", STUCK_ZEBX, "toolbox iface 1 0 wakeup 3", "1.result=0",
     "reset:line=1*4 cmd:op=0x90*2"},
    {"zero_attempts", "", "toolbox wakeup 0", "0.result=0", "reset:line=1*0 psu*0 cmd:op=0x01*0"},
    // A Q7K runs its power cycle even for zero attempts.
    {"zero_attempts_q7k", "--board Q7K", "toolbox --type 4 wakeup 0", "0.result=0", "reset:line=1*0 psu*2"},
    // A bootstrap that never answers is asked 201 times per attempt (about 20 s of 1 s queries
    // with 100 ms pauses) before the attempt fails with 2; it never takes a command.
    {"bootstrap_silent", "--fault bootstrap-silent", "toolbox wakeup 2", "0.result=2",
     "reset:line=1*4 doorbell:op=0x01*402 cmd:op=0x01*0"},
    // Each wait ends with its result at its time in virtual time. The RAM check probes 101
    // times over 10 s: the 101st probe still counts.
    {"ram_on_the_last_probe", "--fault ram-late=100", "toolbox reset dpram 10", "1.result=1 1.us=10087915"},
    {"ram_never", "--fault ram-late=101", "toolbox reset dpram 10", "1.result=0 1.us=10189961"},
    // The stable pair reads pending, the confirming read the answer: taken on the next pass.
    {"unsettled_taken_next_pass", "--fault status-unsettled=2", PRESENCE, "3.result=0 3.us=65"},
    // Still being written at the deadline: a bounded number of late reads, then taken...
    {"settles_after_deadline", "--fault status-flicker=2000", PRESENCE_1MS, "3.result=0 3.us=2561"},
    // ...or the command times out.
    {"never_settles", "--fault status-flicker=8000", PRESENCE_1MS, "3.result=4294967295 3.us=6006"},
    {"stuck_pending", "--fault status-stuck=0x80", STUCK, "2.result=4294967295 2.us=303193"},
    {"stuck_busy", "--fault status-stuck=0xFF", STUCK, "2.result=4294967295 2.us=304242"},
    // A micro-code that never starts: five power cycles of 30 handshakes, each given up just after
    // 1.001 s, then code 1.
    {"q7k_silent", "--board Q7K --timing q7k-boot=1000000000", "toolbox q7kown wakeup 3",
     "1.result=1 1.us=202666670", "psu*10"},
    // The escape sequence and both switch commands each wait for the FIFO in vain for just
    // over a second; the board, never switched off, then answers the first handshake.
    // The Q7K is detected from register 0; the helper got the communication RAM from outside (its
    // accessor has length 0), the status reads 0 at the first poll: awake after one power cycle.
    {"q7k_wakes", "--board Q7K --q7k-regs 0xD1,0x02,0x34,0x05", "toolbox wakeup 3",
     "type=4 id=209 pcb=2 jumpers=3 components=4 rbf=5 0.result=0 0.us=11502258", "reset*0 psu*2"},
    {"q7k_stuck_uart", "--board Q7K --fault uart-stuck", "toolbox wakeup 3", "0.result=0 0.us=14506183"},
    // Each interface has its own mailbox: 1 at 0x2F24, 2 at 0x3024, 0 at 0x0000 (the wake-up's 0x05 too).
    {"own_mailboxes", "", "toolbox wakeup 1 exec 0x01 1000 1 1 exec 0x03 1000 2 0 exec 0x05 1000 0 0",
     "1.result=0 2.result=0 3.result=0",
     "cmd:op=0x01,mbx=0x2F24*1 cmd:op=0x03,mbx=0x3024*1 cmd:op=0x05,mbx=0*2"},
    // Empty and oversized counts are posted as their low 16 bits, after the wake-up's own probe.
    {"i2c_counts", "", "toolbox wakeup 1 i2c 0 0 i2c-nobuf 0x10002 0x10003", "1.result=2 2.result=2",
     "i2c*3 i2c:wr=0*2 i2c:rd=0*2 i2c:wr=2*1 i2c:rd=3*1"},
    {"failed_i2c_keeps_buffer", "--fault i2c-stuck-hard", "toolbox i2c 2 4", "0.result=8 0.read=EEEEEEEE"},
    // On host board 0, a module the machine lacks stops the start-up at its driver with a
    // status that grows with the drivers opened before. Entries: ComRAM, DSP UART, genlock,
    // timecode, manager, 0.
    {"kv_no_timecode", KV_API "drv_timecode", "kvapi 0x4", "mask=0x5 board=0 status=10015 entries=000000"},
    {"kv_no_genlock", KV_API "drv_genlock", "kvapi 0x3", "mask=0x3 board=0 status=20015 entries=000100"},
    {"kv_no_dspuart", KV_API "drv_dspuart", "kvapi 0x6", "mask=0x7 board=0 status=30015 entries=001100"},
    {"kv_no_comram", KV_API "drv_comram", "kvapi 0xD", "mask=0xD board=0 status=40015 entries=010110"},
    {"kv_no_comram_all", KV_API "drv_comram", "kvapi 0xF", "mask=0xF board=0 status=50015 entries=011110"},
    // Without the board's drivers every call reports a status and nothing is touched; the type
    // stays "not identified" (register 0 reads as a floating bus), 0xA5A5A5A5 is not replaced.
    {"no_drivers", "--fault no-drivers",
     "toolbox wakeup 3 q7kregs exec 0x01 1000 0 0 bsread 0xF0000A44 q7kcomram 1",
     "kv=0 interface=9 comramStatus=9 isaStatus=9 hostBoardType=9 comram=0 isaIo=0 type=5 "
     "0.result=1 1.regs=0xFF,0xFF,0xFF,0xFF 2.result=4294967295 3.result=4294967295 "
     "3.value=2779096485"},
    // A fresh module load raises the genlock's and the DSP UART's interrupt thread to real
    // time; a process named like the kernel thread stands in for it.
    {"genlock_irq", "--host-board 0", "toolbox irqthread irq/11-genlock genlock", "0.fifo=1 0.priority=97"},
    {"dspuart_irq", "--host-board 0", "toolbox irqthread irq/7-dspuart dspuart", "0.fifo=1 0.priority=95"},
    {"dspuart_irq11", "--host-board 0", "toolbox irqthread irq/11-dspuart dspuart", "0.fifo=0 0.priority=0"},
    {"no_module_load", "--host-board 1", "toolbox irqthread irq/11-genlock genlock", "0.fifo=0 0.priority=0"},
};
INSTANTIATE_TEST_SUITE_P(Rows, ProbeValuesTest, testing::ValuesIn(ROWS), ByName);
} // namespace
