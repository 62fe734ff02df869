#include "Interposer.h"

#include "PollCost.h"
#include "RealCalls.h"
#include "SimServer.h"
#include "TraceJson.h"
#include "TscTrap.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace simhost
{

Interposer* Interposer::anchor_ = nullptr;

namespace
{
[[noreturn]] void die(const char* call, const std::string& what)
{
    std::fprintf(stderr, "sarvik-sim: %s(%s): %s\n", call, what.c_str(), std::strerror(errno));
    _exit(125);
}
} // namespace

void Interposer::start()
{
    if (anchor_ == nullptr)
        anchor_ = new Interposer(); // lives as long as the process: hooks run until its very end
}

Interposer::Interposer()
{
    RealCalls::get();
    const char* runDir = std::getenv(RunConfig::kEnvVariable);
    if (runDir == nullptr || !config_.load(runDir))
        return;
    inRun_ = true;
    hostBoardType_ = static_cast<int>(config_.getInt("host_board", 1));
    clock_ = VirtualClock::forRun(config_);
    trace_ = std::make_unique<TraceFile>(config_.get("trace"));
    // The board's memory is the hardware's, not the program's: it is taken while a set-user-ID
    // program still runs as root, so that dropping its effective user later changes nothing.
    eepromFd_ = RealCalls::get().open64(config_.get("eeprom").c_str(), O_RDWR | O_CLOEXEC);
    struct stat st;
    if (eepromFd_ >= 0 && fstat(eepromFd_, &st) == 0)
        eepromInode_ = st.st_ino;
    if (clock_.reproducible())
        TscTrap::enable();
}

namespace
{
thread_local PollCost tCost;
} // namespace

void Interposer::chargeAccess(uint32_t where, uint32_t value, bool read)
{
    clock_.advance(tCost.boardAccess(where, value, read));
}

uint64_t Interposer::readTsc()
{
    clock_.advance(tCost.tscRead());
    return static_cast<uint64_t>(clock_.monotonicNow()) * (TscTrap::kHz / 1'000'000'000);
}

void Interposer::waited()
{
    tCost.waited();
}

bool Interposer::mainThread()
{
    return syscall(SYS_gettid) == getpid();
}

int Interposer::openEeprom(const std::string& path) const
{
    struct stat st;
    if (eepromFd_ >= 0 && fstat(eepromFd_, &st) == 0 && st.st_ino == eepromInode_)
        return eepromFd_;
    return RealCalls::get().open64(path.c_str(), O_RDWR | O_CLOEXEC);
}

sim::SimServer& Interposer::board()
{
    std::call_once(boardOnce_, [this] { startBoard(); });
    return *board_;
}

void Interposer::startBoard()
{
    sim::BoardConfig boardConfig;
    const std::string confPath = config_.runDir() + "/board.conf";
    std::ifstream conf(confPath);
    std::string line;
    while (std::getline(conf, line))
    {
        const auto eq = line.find('=');
        std::string error;
        if (eq != std::string::npos && !boardConfig.apply(line.substr(0, eq), line.substr(eq + 1), &error))
        {
            std::fprintf(stderr, "sarvik-sim: %s: %s\n", confPath.c_str(), error.c_str());
            _exit(125);
        }
    }
    const std::string eepromPath = config_.get("eeprom");
    const int fd = openEeprom(eepromPath);
    if (fd < 0)
        die("open", eepromPath);
    void* image = RealCalls::get().mmap64(nullptr, sim::SimServer::kEepromSize, PROT_READ | PROT_WRITE,
                                          MAP_SHARED, fd, 0);
    if (image == MAP_FAILED)
        die("mmap", eepromPath);
    RealCalls::get().close(fd);
    eepromFd_ = -1;
    board_ = std::make_unique<sim::SimServer>(boardConfig, static_cast<uint8_t*>(image), trace_.get());
}

void Interposer::trace(const sim::TraceJson& line)
{
    if (trace_ && trace_->isOpen())
        trace_->emit(line.line());
}

namespace
{
__attribute__((constructor)) void startInterposer()
{
    Interposer::start();
}
} // namespace

} // namespace simhost
