#include "MailboxDriver.h"
#include "TraceJson.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(Trace, EventsCarryTheirFieldsInOrder)
{
    MailboxDriver q5k;
    Bytes data;
    q5k.eepromRead(0x2B40, 64, &data);
    q5k.wake();
    q5k.command(0x05, 0x3024);
    uint32_t par = 0;
    q5k.bsRead(0x87, 0xF0000A44, &par);
    MailboxDriver q7k("board=Q7K");
    q7k.run("g2=99 " + MailboxDriver::psuScript("1B 47 3F 3F 3F") + " t10000 q22=1");
    for (const char* fragment :
         {"\"ev\":\"i2c\",\"dev\":\"0xA4\",\"wr\":2,\"rd\":64,\"mem\":\"0x2B40\",\"status\":\"0x00\"}",
          "\"ev\":\"cmd\",\"mbx\":\"0x0000\",\"op\":\"0x90\",\"by\":\"ucode\",\"status\":\"0x00\",\"done_"
          "us\":2800}",
          "\"ev\":\"polled\",\"mbx\":\"0x0000\",\"op\":\"0x90\",\"pending\":2,\"status\":\"0x00\"}",
          "\"ev\":\"reset\",\"line\":0}", "\"ev\":\"board\",\"state\":\"ram-ready\"}",
          "\"ev\":\"board\",\"state\":\"bootstrap\"}",
          "\"ev\":\"cmd\",\"mbx\":\"0x3024\",\"op\":\"0x05\",\"by\":\"bootstrap\",\"ident\":\"0xB2\","
          "\"status\":\"0x00\"",
          "\"op\":\"0x87\",\"by\":\"bootstrap\",\"addr\":\"0xF0000144\",\"data\":\"0x0000\",\"status\":"
          "\"0x00\"",
          "\"ev\":\"reg\",\"port\":\"0x351\",\"value\":\"0x02\",\"dir\":\"w\"}",
          "\"ev\":\"reg\",\"port\":\"0x350\",\"index\":2,\"value\":\"0x99\",\"dir\":\"w\"}",
          "\"ev\":\"psu\",\"mask\":\"0x1F\",\"state\":\"on\"}"})
        EXPECT_LE(1u, q5k.trace.count(fragment) + q7k.trace.count(fragment)) << fragment;
}

TEST(Trace, LineStartsWithTheTimeInMicrosecondsAndEscapesStrings)
{
    RecordingSink sink;
    sim::TraceJson(1234567, "cmd").hex("mbx", 0x2F24, 4).str("s", "a\"b\\c\n").null("status").emitTo(&sink);
    EXPECT_EQ(
        "{\"t_us\":1234,\"ev\":\"cmd\",\"mbx\":\"0x2F24\",\"s\":\"a\\\"b\\\\c\\u000a\",\"status\":null}",
        sink.lines.at(0));
}
