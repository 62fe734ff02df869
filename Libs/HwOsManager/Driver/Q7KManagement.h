#pragma once
// Low-level access to the Q7K codec board: register file, power-supply link, ComRAM accessor.
#include <cstdint>

namespace ORX::KV::Hardware::Q7KHelpers::Q7KManagement
{
int InitQ7KHelper(volatile uint8_t* ioArea, volatile uint8_t* comram);
int ShutdownQ7KHelper();

// Module state read by the accessors: the communication RAM base (null when none) and the
// length the accessors may touch (0 when the RAM was handed in from outside).
volatile uint8_t* GetComramBase();
uint32_t GetComramLength();
} // namespace ORX::KV::Hardware::Q7KHelpers::Q7KManagement

namespace ORX::KV::Hardware::Q7KHelpers::IOBus
{
// The ISA bus of the Q7K register file: the mapped I/O area when there is one, else I/O ports.
struct Q7KManagement
{
    static uint8_t read(uint32_t port);
    static void write(uint32_t port, uint8_t value);
};
} // namespace ORX::KV::Hardware::Q7KHelpers::IOBus
