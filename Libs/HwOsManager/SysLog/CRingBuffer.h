#pragma once
// A byte ring of variable-length elements over storage that the owner supplies. Each element is a
// 32-bit length word at a 4-aligned position followed by its payload, which may wrap to the start.
// Not thread-safe: the owner locks around it.
#include <cstdint>

struct SRingBufferCorruption
{
    bool mSeen_B;
    bool mDuringPush_B;
    uint32_t mHead_U32;
    uint32_t mQueue_U32;
    uint32_t mNbMaxData_U32;
};

class CRingBuffer
{
public:
    CRingBuffer(unsigned char* storage, unsigned int size);

    // Unlocked, a push that does not fit evicts the oldest elements; locked, it fails instead.
    bool Push(unsigned char* data, unsigned int size);
    bool Pop(unsigned char* data, unsigned int* size);
    bool Head(unsigned char* data, unsigned int* size) const;
    unsigned int GetNextElemSize() const;
    void Empty();
    unsigned int NbElems() const { return mNbElems_U32; }
    void Lock(bool lock) { mLocked_B = lock; }

    unsigned int GetCapacity() const { return mNbMaxData_U32; }
    unsigned int GetNbBytesUsed() const { return mNbBytesUsed_U32; }
    const SRingBufferCorruption& GetCorruption() const { return mCorruption_X; }

private:
    bool PopElement(unsigned char* data, unsigned int* size, bool duringPush);
    void CheckCorruption(bool duringPush);
    void RecordCorruption(bool duringPush);
    void CopyIn(const unsigned char* data, unsigned int size);
    uint32_t CopyOut(unsigned char* data, unsigned int size, uint32_t position) const;

    unsigned char* mpStorage_U8;
    uint32_t mHead_U32;
    uint32_t mQueue_U32;
    uint32_t mNbBytesUsed_U32;
    uint32_t mNbMaxData_U32;
    uint32_t mNbElems_U32;
    bool mLocked_B;
    SRingBufferCorruption mCorruption_X;
};
