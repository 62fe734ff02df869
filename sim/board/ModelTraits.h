// What sets the board models apart, one row per model: the name the launcher takes, the bytes
// that make the host recognise it, the opcodes its firmware knows, and the hardware it has.
#pragma once

#include "SimServer.h"

#include <cstdint>
#include <string>

namespace sim
{

struct ModelTraits
{
    BoardModel model;
    const char* name;
    uint8_t ident;       // answer of opcode 0x05
    uint8_t version0;    // first byte of opcode 0x03
    bool resetLine;      // the host resets the board through byte 0x7FFD
    bool wakeupStep;     // opcode 0x92 must open the I2C path after each reset
    bool registerFile;   // the I/O-bus register file, its UART and the power-supply controller
    uint8_t opcodes[16]; // the opcodes its firmware knows, 0 after the last

    bool knows(uint8_t opcode) const;

    static const ModelTraits& of(BoardModel model);
    // Null for a name no model has.
    static const ModelTraits* named(const std::string& name);
    // "ZEBX|Q5K|...", for help texts.
    static std::string names();
};

} // namespace sim
