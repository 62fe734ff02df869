#include "TraceJson.h"
#include "SimServer.h"

#include <gtest/gtest.h>

namespace
{

struct Last : sim::TraceSink
{
    void emit(const std::string& line) override { text = line; }
    std::string text;
};

} // namespace

TEST(TraceJson, FieldsFollowTheTimeInOrder)
{
    Last sink;
    sim::TraceJson(1234567, "cmd")
        .hex("mbx", 0x2F24, 4)
        .hex8("op", 0x86)
        .num("wr", 2)
        .null("status")
        .emitTo(&sink);
    EXPECT_EQ("{\"t_us\":1234,\"ev\":\"cmd\",\"mbx\":\"0x2F24\",\"op\":\"0x86\",\"wr\":2,\"status\":null}",
              sink.text);
}

TEST(TraceJson, StringsAreEscaped)
{
    Last sink;
    sim::TraceJson(0, "x").str("s", "a\"b\\c\n").emitTo(&sink);
    EXPECT_EQ("{\"t_us\":0,\"ev\":\"x\",\"s\":\"a\\\"b\\\\c\\u000a\"}", sink.text);
}
