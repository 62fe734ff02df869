#pragma once
// Records shared by the driver handle family.
#include <cstdint>

// Statuses of the driver handles; ioctl and command results pass through beside them.
constexpr int32_t DRIVER_STATUS_OK = 0;
// Not yet constructed, or the device is not open.
constexpr int32_t DRIVER_STATUS_NOT_READY = 9;
// The communication RAM or the I/O area could not be mapped.
constexpr int32_t DRIVER_STATUS_MAP_FAILED = 18;
// An index other than 0, or a null record or output.
constexpr int32_t DRIVER_STATUS_BAD_ARGUMENT = 22;
// The device is already open, not open, or cannot be opened.
constexpr int32_t DRIVER_STATUS_DEVICE_FILE = 24;

// The communication RAM as the host maps it; addressed by byte offsets.
struct _MMAP_COMRAM
{
    uint8_t Byte_U8[0x8000];
};

// Interface record: six entries, handles of the opened drivers (null when not requested).
typedef uintptr_t KVDRIVER_PINGUINTERFACE[6];
enum KVDRIVER_PINGUINTERFACE_ENTRY
{
    PINGU_COMRAM = 0,
    PINGU_DSPUART = 1,
    PINGU_GENLOCK = 2,
    PINGU_TIMECODE = 3,
    PINGU_CEDSPUART = 4,
    PINGU_RESERVED = 5,
};

struct KVDRIVERAPIPARAM
{
    uint32_t Mask_U32;
    int32_t KrpcBoardType_S32;
    int32_t Status_S32;
};
struct COMRAMDRIVERAPIPARAM
{
    int32_t Status_S32;
};
struct TIMECODEDRIVERAPIPARAM
{
    int32_t Status_S32;
};
struct GENLOCKDRIVERAPIPARAM
{
    int32_t Status_S32;
};
struct DSPUARTDRIVERAPIPARAM
{
    int32_t Status_S32;
};
struct ZEBDRIVERAPIPARAM
{
    int32_t Status_S32;
};
struct COMRAM_OPENDEVICE
{
    uint32_t Reserved_U32;
};
struct COMRAM_CLOSEDEVICE
{
    uint32_t Reserved_U32;
};

// The process-wide interface record filled by the tool at start.
extern KVDRIVER_PINGUINTERFACE GL_PinguInterface_X;
// The mapped ISA I/O area; null on hosts that reach the board registers through I/O ports.
extern volatile uint8_t* GL_pBaseIsaIoAccess_U8;
