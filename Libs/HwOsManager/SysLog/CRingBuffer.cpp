#include "CRingBuffer.h"
#include <algorithm>
#include <cstring>

namespace
{
constexpr uint32_t LENGTH_WORD_SIZE = 4;

uint32_t AlignUp(uint32_t value)
{
    return (value + 3u) & ~3u;
}
} // namespace

CRingBuffer::CRingBuffer(unsigned char* storage, unsigned int size)
    : mpStorage_U8(storage), mHead_U32(0), mQueue_U32(0), mNbBytesUsed_U32(0), mNbMaxData_U32(size & ~3u),
      mNbElems_U32(0), mLocked_B(false), mCorruption_X{}
{
}

bool CRingBuffer::Push(unsigned char* data, unsigned int size)
{
    if (mQueue_U32 >= mNbMaxData_U32)
    {
        mQueue_U32 = 0;
    }
    if (size >= mNbMaxData_U32 || size + LENGTH_WORD_SIZE >= mNbMaxData_U32)
    {
        CheckCorruption(true);
        return false;
    }
    while (mNbBytesUsed_U32 + size + LENGTH_WORD_SIZE > mNbMaxData_U32)
    {
        // The newest messages win: drop the oldest until the new one fits.
        if (mLocked_B || !PopElement(nullptr, nullptr, true))
        {
            CheckCorruption(true);
            return false;
        }
    }
    memcpy(mpStorage_U8 + mQueue_U32, &size, LENGTH_WORD_SIZE);
    mQueue_U32 += LENGTH_WORD_SIZE;
    mNbBytesUsed_U32 += LENGTH_WORD_SIZE;
    CopyIn(data, size);
    mQueue_U32 = AlignUp(mQueue_U32);
    mNbBytesUsed_U32 = AlignUp(mNbBytesUsed_U32);
    mNbElems_U32++;
    CheckCorruption(true);
    return true;
}

void CRingBuffer::CopyIn(const unsigned char* data, unsigned int size)
{
    uint32_t done_U32 = 0;
    while (done_U32 < size)
    {
        if (mQueue_U32 >= mNbMaxData_U32)
        {
            mQueue_U32 = 0;
        }
        uint32_t piece_U32 = std::min(size - done_U32, mNbMaxData_U32 - mQueue_U32);
        memcpy(mpStorage_U8 + mQueue_U32, data + done_U32, piece_U32);
        mQueue_U32 += piece_U32;
        mNbBytesUsed_U32 += piece_U32;
        done_U32 += piece_U32;
    }
}

uint32_t CRingBuffer::CopyOut(unsigned char* data, unsigned int size, uint32_t position) const
{
    uint32_t done_U32 = 0;
    while (done_U32 < size)
    {
        if (position >= mNbMaxData_U32)
        {
            position = 0;
        }
        uint32_t piece_U32 = std::min(size - done_U32, mNbMaxData_U32 - position);
        if (data != nullptr)
        {
            memcpy(data + done_U32, mpStorage_U8 + position, piece_U32);
        }
        position += piece_U32;
        done_U32 += piece_U32;
    }
    return position >= mNbMaxData_U32 ? 0 : position;
}

bool CRingBuffer::Pop(unsigned char* data, unsigned int* size)
{
    return PopElement(data, size, false);
}

bool CRingBuffer::PopElement(unsigned char* data, unsigned int* size, bool duringPush)
{
    if (size != nullptr)
    {
        *size = 0;
    }
    if (mHead_U32 >= mNbMaxData_U32)
    {
        mHead_U32 = 0;
    }
    if (mNbBytesUsed_U32 == 0)
    {
        CheckCorruption(duringPush);
        return false;
    }
    uint32_t length_U32;
    memcpy(&length_U32, mpStorage_U8 + mHead_U32, LENGTH_WORD_SIZE);
    if (length_U32 > mNbBytesUsed_U32 - LENGTH_WORD_SIZE)
    {
        // A length word that claims more than the ring holds means the storage was overwritten:
        // nothing in it can be trusted any more, so record the fault and start again empty.
        RecordCorruption(duringPush);
        Empty();
        return false;
    }
    mHead_U32 += LENGTH_WORD_SIZE;
    mNbBytesUsed_U32 -= LENGTH_WORD_SIZE;
    if (size != nullptr)
    {
        *size = length_U32;
    }
    mHead_U32 = AlignUp(CopyOut(data, length_U32, mHead_U32));
    mNbBytesUsed_U32 = (mNbBytesUsed_U32 - length_U32) & ~3u;
    mNbElems_U32--;
    CheckCorruption(duringPush);
    return true;
}

bool CRingBuffer::Head(unsigned char* data, unsigned int* size) const
{
    if (size != nullptr)
    {
        *size = 0;
    }
    uint32_t length_U32 = GetNextElemSize();
    if (mNbBytesUsed_U32 == 0 || length_U32 > mNbBytesUsed_U32 - LENGTH_WORD_SIZE)
    {
        return false;
    }
    if (size != nullptr)
    {
        *size = length_U32;
    }
    uint32_t head_U32 = mHead_U32 >= mNbMaxData_U32 ? 0 : mHead_U32;
    CopyOut(data, length_U32, head_U32 + LENGTH_WORD_SIZE);
    return true;
}

unsigned int CRingBuffer::GetNextElemSize() const
{
    if (mNbBytesUsed_U32 == 0)
    {
        return 0;
    }
    uint32_t head_U32 = mHead_U32 >= mNbMaxData_U32 ? 0 : mHead_U32;
    uint32_t length_U32;
    memcpy(&length_U32, mpStorage_U8 + head_U32, LENGTH_WORD_SIZE);
    return length_U32;
}

void CRingBuffer::Empty()
{
    mHead_U32 = 0;
    mQueue_U32 = 0;
    mNbBytesUsed_U32 = 0;
    mNbElems_U32 = 0;
}

void CRingBuffer::CheckCorruption(bool duringPush)
{
    if (mQueue_U32 > mNbMaxData_U32 || mHead_U32 > mNbMaxData_U32)
    {
        RecordCorruption(duringPush);
    }
}

void CRingBuffer::RecordCorruption(bool duringPush)
{
    if (!mCorruption_X.mSeen_B)
    {
        mCorruption_X = {true, duringPush, mHead_U32, mQueue_U32, mNbMaxData_U32};
    }
}
