#pragma once
// Identity of a Q7K board as read from its register file.
#include <cstdint>

namespace ORX::KV::Hardware::Q7KHelpers
{
class Q7KInfos
{
public:
    Q7KInfos(uint8_t boardId, uint8_t pcbVersion, uint8_t jumpersState, uint8_t componentsVersion,
             uint8_t rbfVersion)
        : mBoardId_U8(boardId), mPcbVersion_U8(pcbVersion), mJumpersState_U8(jumpersState),
          mComponentsVersion_U8(componentsVersion), mRbfVersion_U8(rbfVersion)
    {
    }
    uint8_t BoardID() const { return mBoardId_U8; }
    uint8_t PCBVersion() const { return mPcbVersion_U8; }
    uint8_t JumpersState() const { return mJumpersState_U8; }
    uint8_t ComponentsVersion() const { return mComponentsVersion_U8; }
    uint8_t RBFVersion() const { return mRbfVersion_U8; }

private:
    uint8_t mBoardId_U8;
    uint8_t mPcbVersion_U8;
    uint8_t mJumpersState_U8;
    uint8_t mComponentsVersion_U8;
    uint8_t mRbfVersion_U8;
};
} // namespace ORX::KV::Hardware::Q7KHelpers
