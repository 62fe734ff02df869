#include "SimServer.h"

#include "Board.h"

namespace sim
{

SimServer::SimServer(const BoardConfig& config, uint8_t* eeprom, TraceSink* trace)
    : board_(new Board(config, eeprom, trace))
{
}

SimServer::~SimServer() = default;

uint8_t SimServer::comramRead(uint32_t offset, uint64_t nowNs)
{
    return board_->comramRead(offset, nowNs);
}

void SimServer::comramWrite(uint32_t offset, uint8_t value, uint64_t nowNs)
{
    board_->comramWrite(offset, value, nowNs);
}

uint8_t SimServer::portRead(uint16_t port, uint64_t nowNs)
{
    return board_->portRead(port, nowNs);
}

void SimServer::portWrite(uint16_t port, uint8_t value, uint64_t nowNs)
{
    board_->portWrite(port, value, nowNs);
}

} // namespace sim
