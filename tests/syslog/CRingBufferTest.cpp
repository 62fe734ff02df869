#include "CRingBuffer.h"
#include <gtest/gtest.h>
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

Bytes Pop(CRingBuffer& ring)
{
    unsigned char buffer[1024];
    unsigned size = 12345;
    bool popped = ring.Pop(buffer, &size);
    EXPECT_TRUE(popped || size == 0u);
    return Bytes(buffer, buffer + (popped ? size : 0));
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
