#include "CSysLogMessage.h"
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

TEST(CSysLogMessage, RecordTravelsPackedAndLittleEndian)
{
    EXPECT_EQ(219u, sizeof(CSysLogMessage));
    CSysLogMessage message;
    char text[] = "abc";
    message.MakeMessage(224, 3, 0x11223344, -2, -7, 0xAB, 0x01020304, text);
    const unsigned char expected[] = {224,  0,    0,    0,    3,    0x44, 0x33, 0x22, 0x11, 0xFE, 0xFF, 0xF9,
                                      0xFF, 0xAB, 0x04, 0x03, 0x02, 0x01, 3,    'a',  'b',  'c',  0};
    EXPECT_EQ(0, memcmp(expected, &message, sizeof(expected)));
    EXPECT_EQ(22u, message.GetWireSize());
    message.SetEmptyMessage();
    EXPECT_TRUE(message.IsEmpty());
    EXPECT_STREQ("", message.GetText());
}

TEST(CSysLogMessage, MakeMessageTrimsTextsAsTheFilesExpect)
{
    // Text given, the 200-byte text field up to its second NUL, the length kept.
    const std::tuple<std::string, std::string, unsigned> rows[] = {
        {"plain", "plain", 5},
        {"line\r\n", std::string("line\0\n", 6), 4}, // the LF stays behind the terminator
        {"line\n", "line\n", 5},
        {"\r\n", std::string("\0\n", 2), 0},
        {"cr\r", "cr\r", 3},
        {std::string(250, 'x'), std::string(199, 'x'), 199},
    };
    for (const auto& row : rows)
    {
        CSysLogMessage message;
        std::string text = std::get<0>(row);
        message.MakeMessage(65, 1, 0, 0, 0, 0, 0, &text[0]);
        const char* field = message.GetText();
        std::string stored = field;
        if (stored.size() + 1 < 200 && field[stored.size() + 1] != '\0')
            stored += std::string(1, '\0') + (field + stored.size() + 1);
        EXPECT_EQ(std::get<1>(row), stored) << std::get<0>(row);
        EXPECT_EQ(std::get<2>(row), message.mTextLength_U8) << std::get<0>(row);
    }
}
