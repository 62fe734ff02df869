#include "CSysLogMessage.h"
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

TEST(CSysLogMessage, RecordIsPackedWithFieldsAtTheirWireOffsets)
{
    EXPECT_EQ(219u, sizeof(CSysLogMessage));
    struct
    {
        size_t offset;
        size_t expected;
    } const fields[] = {
        {offsetof(CSysLogMessage, mChannel_U32), 0},   {offsetof(CSysLogMessage, mCriticity_U8), 4},
        {offsetof(CSysLogMessage, mTimeStamp_U32), 5}, {offsetof(CSysLogMessage, mErrorCode_U16), 9},
        {offsetof(CSysLogMessage, mSubId_S16), 11},    {offsetof(CSysLogMessage, mContext_U8), 13},
        {offsetof(CSysLogMessage, mSequence_U32), 14}, {offsetof(CSysLogMessage, mTextLength_U8), 18},
        {offsetof(CSysLogMessage, mpText_c), 19},
    };
    for (const auto& field : fields)
    {
        EXPECT_EQ(field.expected, field.offset);
    }
}

TEST(CSysLogMessage, MakeMessageStoresFieldsLittleEndianOnTheWire)
{
    CSysLogMessage message;
    char text[] = "abc";
    message.MakeMessage(224, 3, 0x11223344, -2, -7, 0xAB, 0x01020304, text);
    const unsigned char* wire = reinterpret_cast<const unsigned char*>(&message);
    const unsigned char expected[] = {224,  0,    0,    0,    3,    0x44, 0x33, 0x22, 0x11, 0xFE, 0xFF, 0xF9,
                                      0xFF, 0xAB, 0x04, 0x03, 0x02, 0x01, 3,    'a',  'b',  'c',  0};
    EXPECT_EQ(0, memcmp(expected, wire, sizeof(expected)));
    EXPECT_EQ(22u, message.GetWireSize());
}

TEST(CSysLogMessage, MakeMessageTrimsTextsAsTheFilesExpect)
{
    struct Case
    {
        std::string in;
        std::string stored;
        unsigned length;
    } const cases[] = {
        {"plain", "plain", 5},
        {"line\r\n", "line", 4},
        {"line\n", "line\n", 5},
        {"\r\n", "", 0},
        {"cr\r", "cr\r", 3},
        {std::string(250, 'x'), std::string(199, 'x'), 199},
        {std::string(199, 'y'), std::string(199, 'y'), 199},
        // The text is a format once more: a '%' that survived the caller's formatting expands again.
        {"50%% done", "50% done", 8},
    };
    for (const Case& c : cases)
    {
        CSysLogMessage message;
        std::string text = c.in;
        message.MakeMessage(65, 1, 0, 0, 0, 0, 0, &text[0]);
        EXPECT_EQ(c.stored, message.GetText()) << c.in;
        EXPECT_EQ(c.length, message.mTextLength_U8) << c.in;
    }
}

TEST(CSysLogMessage, TrimmedCrLfLeavesTheLineFeedBehindTheTerminator)
{
    CSysLogMessage message;
    char text[] = "ok\r\n";
    message.MakeMessage(65, 1, 0, 0, 0, 0, 0, text);
    EXPECT_EQ('\0', message.mpText_c[2]);
    EXPECT_EQ('\n', message.mpText_c[3]);
}

TEST(CSysLogMessage, InitZeroesAndEmptyMessageHasNoText)
{
    CSysLogMessage message;
    char text[] = "something";
    message.MakeMessage(70, 2, 5, 6, 7, 8, 9, text);
    CSysLogMessage copy;
    copy = message;
    EXPECT_EQ(0, memcmp(&copy, &message, sizeof(message)));

    message.SetEmptyMessage();
    EXPECT_TRUE(message.IsEmpty());
    EXPECT_STREQ("", message.GetText());
    EXPECT_EQ(70u, +message.mChannel_U32);

    message.Init();
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&message);
    for (size_t i = 0; i < sizeof(message); i++)
    {
        ASSERT_EQ(0, bytes[i]) << "byte " << i;
    }
}
