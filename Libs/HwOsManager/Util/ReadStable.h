#pragma once
// Reads a byte that the board may be changing under us.
namespace ORX::Ucode::Api
{
// Two reads that agree: true. Otherwise two more reads, true when those agree.
// `value` always holds the last-but-one read.
bool ReadStable_8(const volatile void* address, unsigned char& value);
} // namespace ORX::Ucode::Api
