#include "CRingBuffer.h"
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{
std::vector<unsigned char> Payload(unsigned size, unsigned char seed)
{
    std::vector<unsigned char> data(size);
    for (unsigned i = 0; i < size; i++)
    {
        data[i] = static_cast<unsigned char>(seed + i * 7);
    }
    return data;
}

bool Push(CRingBuffer& ring, const std::vector<unsigned char>& data)
{
    std::vector<unsigned char> copy = data;
    return ring.Push(copy.data(), static_cast<unsigned>(copy.size()));
}

std::vector<unsigned char> Pop(CRingBuffer& ring)
{
    unsigned char buffer[1024];
    unsigned size = 12345;
    if (!ring.Pop(buffer, &size))
    {
        EXPECT_EQ(0u, size);
        return {};
    }
    return std::vector<unsigned char>(buffer, buffer + size);
}

unsigned Framed(unsigned size)
{
    return 4 + ((size + 3) & ~3u);
}
} // namespace

TEST(CRingBuffer, CapacityIsRoundedDownToAMultipleOfFour)
{
    unsigned char storage[64];
    for (unsigned size : {64u, 63u, 61u, 60u})
    {
        CRingBuffer ring(storage, size);
        EXPECT_EQ(size & ~3u, ring.GetCapacity()) << size;
    }
}

TEST(CRingBuffer, ElementsComeBackInOrderWithLengthWordAndAlignment)
{
    unsigned char storage[256];
    CRingBuffer ring(storage, sizeof(storage));
    unsigned used = 0;
    for (unsigned size = 1; size <= 9; size++)
    {
        ASSERT_TRUE(Push(ring, Payload(size, static_cast<unsigned char>(size))));
        used += Framed(size);
        EXPECT_EQ(used, ring.GetNbBytesUsed()) << size;
    }
    EXPECT_EQ(9u, ring.NbElems());
    EXPECT_EQ(1u, ring.GetNextElemSize());
    for (unsigned size = 1; size <= 9; size++)
    {
        EXPECT_EQ(Payload(size, static_cast<unsigned char>(size)), Pop(ring));
    }
    EXPECT_EQ(0u, ring.GetNbBytesUsed());
    EXPECT_EQ(0u, ring.NbElems());
    EXPECT_TRUE(Pop(ring).empty());
    EXPECT_EQ(0u, ring.GetNextElemSize());
}

TEST(CRingBuffer, PayloadStraddlingTheEndIsReadBackWhole)
{
    unsigned char storage[64];
    CRingBuffer ring(storage, sizeof(storage));
    // Move both positions to 48 so that the next payload starts at 52 and wraps after 12 bytes.
    ASSERT_TRUE(Push(ring, Payload(44, 1)));
    ASSERT_EQ(Payload(44, 1), Pop(ring));
    std::vector<unsigned char> straddling = Payload(30, 9);
    ASSERT_TRUE(Push(ring, straddling));

    unsigned char peek[64];
    unsigned size = 0;
    ASSERT_TRUE(ring.Head(peek, &size));
    EXPECT_EQ(straddling, std::vector<unsigned char>(peek, peek + size));
    EXPECT_EQ(1u, ring.NbElems());
    EXPECT_EQ(straddling, Pop(ring));
    EXPECT_EQ(0u, ring.GetNbBytesUsed());
}

TEST(CRingBuffer, FullRingEvictsJustEnoughOfTheOldest)
{
    unsigned char storage[64];
    CRingBuffer ring(storage, sizeof(storage));
    for (unsigned char i = 0; i < 4; i++)
    {
        ASSERT_TRUE(Push(ring, Payload(12, i)));
    }
    ASSERT_EQ(64u, ring.GetNbBytesUsed());
    // 20 framed bytes need two 16-byte elements to go.
    ASSERT_TRUE(Push(ring, Payload(16, 99)));
    EXPECT_EQ(3u, ring.NbElems());
    EXPECT_EQ(Payload(12, 2), Pop(ring));
    EXPECT_EQ(Payload(12, 3), Pop(ring));
    EXPECT_EQ(Payload(16, 99), Pop(ring));
    EXPECT_EQ(0u, ring.GetNbBytesUsed());
    EXPECT_EQ(0u, ring.NbElems());
}

TEST(CRingBuffer, LockedRingRefusesInsteadOfEvicting)
{
    unsigned char storage[64];
    CRingBuffer ring(storage, sizeof(storage));
    ring.Lock(true);
    for (unsigned char i = 0; i < 4; i++)
    {
        ASSERT_TRUE(Push(ring, Payload(12, i)));
    }
    EXPECT_FALSE(Push(ring, Payload(1, 0)));
    EXPECT_EQ(4u, ring.NbElems());
    EXPECT_EQ(Payload(12, 0), Pop(ring));
    ring.Lock(false);
    EXPECT_TRUE(Push(ring, Payload(16, 5)));
    EXPECT_EQ(Payload(12, 2), Pop(ring));
}

TEST(CRingBuffer, ElementThatCanNeverFitIsRefused)
{
    unsigned char storage[64];
    CRingBuffer ring(storage, sizeof(storage));
    ASSERT_TRUE(Push(ring, Payload(8, 1)));
    EXPECT_FALSE(Push(ring, Payload(60, 0)));
    EXPECT_FALSE(Push(ring, Payload(61, 0)));
    EXPECT_TRUE(Push(ring, Payload(59, 0)));
    EXPECT_EQ(1u, ring.NbElems());
    EXPECT_FALSE(ring.GetCorruption().mSeen_B);
}

TEST(CRingBuffer, HeadPeeksAndEmptyForgetsEverything)
{
    unsigned char storage[128];
    CRingBuffer ring(storage, sizeof(storage));
    Push(ring, Payload(5, 1));
    Push(ring, Payload(6, 2));
    unsigned char peek[16];
    unsigned size = 0;
    ASSERT_TRUE(ring.Head(peek, &size));
    EXPECT_EQ(5u, size);
    EXPECT_EQ(2u, ring.NbElems());
    ring.Empty();
    EXPECT_EQ(0u, ring.GetNbBytesUsed());
    EXPECT_FALSE(ring.Head(peek, &size));
    EXPECT_EQ(0u, size);
    EXPECT_TRUE(Push(ring, Payload(7, 3)));
    EXPECT_EQ(Payload(7, 3), Pop(ring));
}

TEST(CRingBuffer, OverwrittenLengthWordIsRecordedOnceAndTheRingRecovers)
{
    unsigned char storage[128];
    CRingBuffer ring(storage, sizeof(storage));
    Push(ring, Payload(10, 1));
    Push(ring, Payload(10, 2));
    uint32_t garbage = 0x7FFFFFF0;
    memcpy(storage, &garbage, sizeof(garbage));

    EXPECT_TRUE(Pop(ring).empty());
    const SRingBufferCorruption& corruption = ring.GetCorruption();
    EXPECT_TRUE(corruption.mSeen_B);
    EXPECT_FALSE(corruption.mDuringPush_B);
    EXPECT_EQ(0u, corruption.mHead_U32);
    EXPECT_EQ(32u, corruption.mQueue_U32);
    EXPECT_EQ(128u, corruption.mNbMaxData_U32);
    EXPECT_EQ(0u, ring.GetNbBytesUsed());

    ASSERT_TRUE(Push(ring, Payload(10, 3)));
    memcpy(storage, &garbage, sizeof(garbage));
    ring.Pop(nullptr, nullptr);
    EXPECT_EQ(32u, ring.GetCorruption().mQueue_U32) << "the first detection is kept";
    ASSERT_TRUE(Push(ring, Payload(10, 4)));
    EXPECT_EQ(Payload(10, 4), Pop(ring));
}

// A long random run against a plain model: eviction, wrap and accounting stay consistent.
TEST(CRingBuffer, RandomTrafficMatchesAQueueModel)
{
    unsigned char storage[500];
    CRingBuffer ring(storage, sizeof(storage));
    std::deque<std::vector<unsigned char>> model;
    unsigned modelUsed = 0;
    std::mt19937 random(1234);
    for (int step = 0; step < 20000; step++)
    {
        if (random() % 3 != 0)
        {
            unsigned size = random() % 120;
            std::vector<unsigned char> data = Payload(size, static_cast<unsigned char>(step));
            while (modelUsed + size + 4 > ring.GetCapacity())
            {
                modelUsed -= Framed(static_cast<unsigned>(model.front().size()));
                model.pop_front();
            }
            ASSERT_TRUE(Push(ring, data));
            model.push_back(data);
            modelUsed += Framed(size);
        }
        else if (!model.empty())
        {
            ASSERT_EQ(model.front(), Pop(ring)) << "step " << step;
            modelUsed -= Framed(static_cast<unsigned>(model.front().size()));
            model.pop_front();
        }
        ASSERT_EQ(modelUsed, ring.GetNbBytesUsed()) << "step " << step;
        ASSERT_EQ(model.size(), ring.NbElems()) << "step " << step;
    }
    while (!model.empty())
    {
        ASSERT_EQ(model.front(), Pop(ring));
        model.pop_front();
    }
    EXPECT_EQ(0u, ring.GetNbBytesUsed());
    EXPECT_FALSE(ring.GetCorruption().mSeen_B);
}
