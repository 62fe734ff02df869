#include "Q7KManagement.h"

#include "CIoPortAccess.h"
#include "DriverApiTypes.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

volatile uint8_t* GL_pBaseIsaIoAccess_U8 = nullptr;

namespace
{
constexpr unsigned long IOCTL_GET_CONFIG = 0x80206E01;
const char* const ZQ8_NODE = "/dev/zq8_0";

volatile uint8_t* S_pComram_U8 = nullptr;
uint32_t S_Config_U32[8] = {};
bool S_ComramFromOutside_B = false;
bool S_OwnIoArea_B = false;

bool Zq8Present()
{
    return access(ZQ8_NODE, F_OK) == 0;
}

volatile uint8_t* MapArea(int fd, uint32_t length, uint32_t offset)
{
    void* pArea = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, static_cast<off_t>(offset));
    return pArea == MAP_FAILED ? nullptr : static_cast<volatile uint8_t*>(pArea);
}

void MapOwnAreas()
{
    const int fd = open("/dev/comram0", O_RDWR | O_CLOEXEC);
    if (fd < 0)
    {
        return;
    }
    if (ioctl(fd, IOCTL_GET_CONFIG, S_Config_U32) == 0)
    {
        S_pComram_U8 = MapArea(fd, S_Config_U32[2], S_Config_U32[1]);
        if (Zq8Present())
        {
            GL_pBaseIsaIoAccess_U8 = MapArea(fd, S_Config_U32[5], S_Config_U32[4]);
            S_OwnIoArea_B = true;
        }
    }
    else
    {
        // A record the driver did not fill must not size any accessor.
        for (uint32_t& word_U32 : S_Config_U32)
        {
            word_U32 = 0;
        }
    }
    close(fd);
}
} // namespace

namespace ORX::KV::Hardware::Q7KHelpers::Q7KManagement
{
int InitQ7KHelper(volatile uint8_t* ioArea, volatile uint8_t* comram)
{
    for (uint32_t& word_U32 : S_Config_U32)
    {
        word_U32 = 0;
    }
    S_OwnIoArea_B = false;
    GL_pBaseIsaIoAccess_U8 = Zq8Present() ? ioArea : nullptr;
    S_ComramFromOutside_B = comram != nullptr;
    S_pComram_U8 = comram;
    if (comram == nullptr)
    {
        MapOwnAreas();
    }
    return 0;
}

int ShutdownQ7KHelper()
{
    if (S_ComramFromOutside_B)
    {
        return 0;
    }
    if (S_pComram_U8 != nullptr)
    {
        munmap(const_cast<uint8_t*>(S_pComram_U8), S_Config_U32[2]);
    }
    if (S_OwnIoArea_B && GL_pBaseIsaIoAccess_U8 != nullptr)
    {
        munmap(const_cast<uint8_t*>(GL_pBaseIsaIoAccess_U8), S_Config_U32[5]);
    }
    S_pComram_U8 = nullptr;
    GL_pBaseIsaIoAccess_U8 = nullptr;
    S_OwnIoArea_B = false;
    return 0;
}

volatile uint8_t* GetComramBase()
{
    return S_pComram_U8;
}

uint32_t GetComramLength()
{
    return S_Config_U32[2];
}
} // namespace ORX::KV::Hardware::Q7KHelpers::Q7KManagement

namespace ORX::KV::Hardware::Q7KHelpers::IOBus
{
uint8_t Q7KManagement::read(uint32_t port)
{
    if (GL_pBaseIsaIoAccess_U8 != nullptr)
    {
        return GL_pBaseIsaIoAccess_U8[port];
    }
    return CIoPortAccess::S_In8(port);
}

void Q7KManagement::write(uint32_t port, uint8_t value)
{
    if (GL_pBaseIsaIoAccess_U8 != nullptr)
    {
        GL_pBaseIsaIoAccess_U8[port] = value;
        return;
    }
    CIoPortAccess::S_Out8(port, value);
}
} // namespace ORX::KV::Hardware::Q7KHelpers::IOBus
