// The one process-wide object of the interposer: the run's settings, its virtual clock, the
// descriptors and mappings of the simulated drivers, the port grants and the board model.
#pragma once

#include "DeviceTable.h"
#include "MappedAreas.h"
#include "PortGrants.h"
#include "RunConfig.h"
#include "TraceFile.h"
#include "TraceJson.h"
#include "VirtualClock.h"

#include <memory>
#include <mutex>

namespace sim
{
class SimServer;
} // namespace sim

namespace simhost
{

class Interposer
{
public:
    // Null until the library's constructor has run.
    static Interposer* get() { return anchor_; }
    static void start();

    // False in a process started outside sarvik-sim: everything then passes through.
    bool inRun() const { return inRun_; }
    const VirtualClock& clock() const { return clock_; }
    uint64_t nowNs() const { return static_cast<uint64_t>(clock_.monotonicNow()); }
    // What moves the reproducible clock (PollCost): a board access after it was made, a counter
    // read (charged before it is answered, so that the read that ends a busy-wait lands within one
    // step of its deadline), and a sleep or wait of the calling thread.
    void chargeAccess(uint32_t where, uint32_t value, bool read);
    uint64_t readTsc();
    void waited();
    // The process's main thread: only its sleeps and timed waits move the clock.
    static bool mainThread();
    int hostBoardType() const { return hostBoardType_; }

    DeviceTable& devices() { return devices_; }
    MappedAreas& areas() { return areas_; }
    PortGrants& ports() { return ports_; }
    // The board model, created on first use; a board that cannot start ends the process.
    sim::SimServer& board();
    void trace(const sim::TraceJson& line);

private:
    Interposer();
    void startBoard();
    int openEeprom(const std::string& path) const;

    static Interposer* anchor_;
    RunConfig config_;
    bool inRun_ = false;
    int hostBoardType_ = 1;
    VirtualClock clock_;
    DeviceTable devices_;
    MappedAreas areas_;
    PortGrants ports_;
    std::unique_ptr<TraceFile> trace_;
    int eepromFd_ = -1;
    uint64_t eepromInode_ = 0; // tells the image's descriptor from a later file of the same number
    std::once_flag boardOnce_;
    std::unique_ptr<sim::SimServer> board_;
};

} // namespace simhost
