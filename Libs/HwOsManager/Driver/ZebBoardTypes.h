#pragma once
#include <cstdint>

enum SYS_CTL_BOARD_TYPE : int32_t
{
    SYS_CTL_BOARD_TYPE_ZEBX = 0,
    SYS_CTL_BOARD_TYPE_Q5K = 1,
    SYS_CTL_BOARD_TYPE_Q5KP = 2,
    SYS_CTL_BOARD_TYPE_Q5KP_V = 3,
    SYS_CTL_BOARD_TYPE_Q7K = 4,
    SYS_CTL_BOARD_TYPE_UNKNOWN = 5, // "detect" as a constructor argument
};

#pragma pack(push, 1)
struct SZebBoardInfos
{
    SYS_CTL_BOARD_TYPE BoardType;
    uint8_t BoardID;
    uint8_t PCBVersion;
    uint8_t JumpersState;
    uint8_t ComponentsVersion;
    uint8_t RBFVersion;
    uint8_t Reserved[3];
};
#pragma pack(pop)
static_assert(sizeof(SZebBoardInfos) == 12, "board infos record is 12 bytes");
