#include "SimServer.h"

namespace sim
{

class Board
{
};

BoardConfig::BoardConfig() = default;

bool BoardConfig::apply(const std::string&, const std::string&, std::string* error)
{
    if (error)
        *error = "not implemented";
    return false;
}

std::vector<std::string> faultNames() { return {}; }
std::vector<uint8_t> sampleEepromImage() { return std::vector<uint8_t>(SimServer::kEepromSize, 0xFF); }
int imageCommand(int, char**) { return 2; }

SimServer::SimServer(const BoardConfig&, uint8_t*, TraceSink*) : board_(new Board) {}
SimServer::~SimServer() = default;
uint8_t SimServer::comramRead(uint32_t, uint64_t) { return 0xFF; }
void SimServer::comramWrite(uint32_t, uint8_t, uint64_t) {}
uint8_t SimServer::portRead(uint16_t, uint64_t) { return 0xFF; }
void SimServer::portWrite(uint16_t, uint8_t, uint64_t) {}

} // namespace sim
