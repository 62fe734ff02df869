#pragma once
// Low-level access to the Q7K codec board: register file, power-supply link, ComRAM accessor.
#include <cstdint>

namespace ORX::KV::Hardware::Q7KHelpers::Q7KManagement
{
int InitQ7KHelper(volatile uint8_t* ioArea, volatile uint8_t* comram);
int ShutdownQ7KHelper();
} // namespace ORX::KV::Hardware::Q7KHelpers::Q7KManagement
