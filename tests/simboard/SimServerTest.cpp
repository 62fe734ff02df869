#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(SimServer, BoardAnswersInExactVirtualTime)
{
    const std::pair<const char*, const char*> rows[] = {
        // A powered server's micro-code takes the command and answers it 100 µs later.
        {"", "m=1 c01 r7FFF=0 t99 r0001=80 t1 r0001=00"},
        // In reset the RAM reads 0xFF and nothing answers; the reset line reads back.
        {"", "w7FFD=1 m=0 c01 t50000 r0001=FF r7FFD=1"},
        // The RAM works 5 ms after the reset, the bootstrap 50 ms later and takes what was posted.
        {"", "w7FFD=1 t1000 w7FFD=0 t4999 m=0 t1 m=1 c01 t49999 r0001=80 t1 r0001=80 t50 r0001=00"},
        {"", "w0000=01 w0001=80 t10000 r0001=80"}, // no doorbell, no command
        {"", "p350=FF p351=FF"},                   // no register file on the I/O bus
        {"fault=ucode-refuse", "c90 t1000 r0001=7F"}};
    for (const auto& [options, script] : rows)
        MailboxDriver(options).run(script);
}
