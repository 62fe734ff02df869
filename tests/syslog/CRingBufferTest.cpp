#include "CRingBuffer.h"
#include <deque>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{
using Bytes = std::vector<unsigned char>;

Bytes Payload(unsigned size, unsigned char seed)
{
    Bytes data(size);
    for (unsigned i = 0; i < size; i++)
        data[i] = static_cast<unsigned char>(seed + i * 7);
    return data;
}

bool Push(CRingBuffer& ring, Bytes data)
{
    return ring.Push(data.data(), static_cast<unsigned>(data.size()));
}

Bytes Pop(CRingBuffer& ring, bool peek = false)
{
    unsigned char buffer[1024];
    unsigned size = 12345;
    bool popped = peek ? ring.Head(buffer, &size) : ring.Pop(buffer, &size);
    EXPECT_TRUE(popped || size == 0u);
    return Bytes(buffer, buffer + (popped ? size : 0));
}

unsigned Framed(size_t size)
{
    return 4 + ((static_cast<unsigned>(size) + 3) & ~3u);
}
} // namespace

TEST(CRingBuffer, ElementThatCannotFitIsRefusedAndALockedRingNeverEvicts)
{
    unsigned char storage[64];
    EXPECT_EQ(60u, CRingBuffer(storage, 63).GetCapacity()) << "rounded down to whole words";
    CRingBuffer ring(storage, sizeof(storage));
    ASSERT_TRUE(Push(ring, Payload(8, 1)));
    EXPECT_EQ(8u, ring.GetNextElemSize());
    EXPECT_FALSE(Push(ring, Payload(60, 0))) << "with its length word it would fill the ring";
    EXPECT_TRUE(Push(ring, Payload(59, 0))) << "evicts everything else";
    EXPECT_EQ(1u, ring.NbElems());
    ring.Empty();
    ring.Lock(true);
    for (unsigned char i = 0; i < 4; i++)
        ASSERT_TRUE(Push(ring, Payload(12, i)));
    EXPECT_FALSE(Push(ring, Payload(1, 0)));
    EXPECT_EQ(4u, ring.NbElems());
    EXPECT_EQ(Payload(12, 0), Pop(ring));
    ring.Lock(false);
    EXPECT_TRUE(Push(ring, Payload(16, 5)));
    EXPECT_EQ(Payload(12, 2), Pop(ring)) << "20 framed bytes: just the oldest element goes";
}

// A long random run against a plain queue: order, framing, eviction of just enough of the oldest,
// wrap and accounting all stay exact.
TEST(CRingBuffer, RandomTrafficMatchesAQueueModel)
{
    unsigned char storage[500];
    CRingBuffer ring(storage, sizeof(storage));
    std::deque<Bytes> model;
    unsigned modelUsed = 0;
    std::mt19937 random(1234);
    for (int step = 0; step < 20000; step++)
    {
        if (random() % 3 != 0)
        {
            Bytes data = Payload(random() % 120, static_cast<unsigned char>(step));
            for (; modelUsed + data.size() + 4 > ring.GetCapacity(); model.pop_front())
                modelUsed -= Framed(model.front().size());
            ASSERT_TRUE(Push(ring, data));
            model.push_back(data);
            modelUsed += Framed(data.size());
        }
        else if (!model.empty())
        {
            ASSERT_EQ(model.front(), Pop(ring, true)) << "step " << step;
            ASSERT_EQ(model.front(), Pop(ring)) << "step " << step;
            modelUsed -= Framed(model.front().size());
            model.pop_front();
        }
        ASSERT_EQ(modelUsed, ring.GetNbBytesUsed()) << "step " << step;
        ASSERT_EQ(model.size(), ring.NbElems()) << "step " << step;
    }
    EXPECT_FALSE(ring.GetCorruption().mSeen_B);
}
