#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(Eeprom24C256, PagesWriteCyclesAndCountedFaults)
{
    const std::pair<const char*, const char*> rows[] = {
        // Not acknowledged during its 5 ms write cycle.
        {"timing=eeprom-write=5000", "W0100+1=0 R0100+1=2 P=2 t4000 P=0 M0100=1"},
        // 8 bytes to the end of the page, 8 wrap to its start; more than a page overwrites it.
        {"", "W2038+16=0 M2038=1 M203F=8 M2000=9 M2007=10 M2040=FF M1FFF=FF"},
        {"", "W3000+66=0 M3000=41 M3001=42 M3002=3 M3040=FF"},
        {"fault=eeprom-busy=3", "R0100+40=2 R0100+40=2 R0100+40=2 R0100+40=0"},
        {"fault=write-busy=2",
         "W4000+1=0 t10000 R4000+1=2 P=2 R4000+1=0 W4000+2=0 t10000 P=2 P=2 P=0 M4001=2"},
        {"fault=page-status=11072:0x05:2", "R2B40+40=5 R2B4A+4=5 R2B40+40=0"},
        {"fault=page-status=0x0120:0x05", "R0100+40=5 R0100+40=5 R0140+40=0"},
        // The write the power cut loses is still acknowledged.
        {"fault=power-cut=1", "W4000+1=0 t10000 W4040+1=0 t10000 W4080+1=0 M4000=1 M4040=FF M4080=FF"}};
    for (const auto& [options, script] : rows)
        MailboxDriver(options).run(script);
}
