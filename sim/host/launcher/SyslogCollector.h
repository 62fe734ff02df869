// The simulated server's system logger: a datagram socket at the sandbox's /dev/log, whose
// messages are written as JSON lines (ident, facility, priority, pid, message).
#pragma once

#include "VirtualClock.h"

#include <atomic>
#include <map>
#include <string>
#include <thread>

namespace simhost
{

struct SyslogMessage
{
    int facility = 0;
    int priority = 0;
    std::string ident;
    long pid = -1;
    std::string text;
};

class SyslogCollector
{
public:
    SyslogCollector() = default;
    ~SyslogCollector();
    SyslogCollector(const SyslogCollector&) = delete;
    SyslogCollector& operator=(const SyslogCollector&) = delete;

    // Binds the socket; the messages go to `outPath` (dropped when it is empty).
    bool open(const std::string& socketPath, const std::string& outPath, const VirtualClock& clock,
              std::string* error);
    void start();
    // Takes every message still queued on the socket, then stops.
    void stop();

    // Reads "<PRI>Mmm dd hh:mm:ss IDENT[PID]: TEXT" as the C library sends it.
    static bool parse(const std::string& datagram, SyslogMessage* message);
    static std::string toJson(const SyslogMessage& message, uint64_t nowNs);

private:
    void loop();
    bool receiveOne();

    int socket_ = -1;
    int out_ = -1;
    VirtualClock clock_;
    // With the reproducible clock, senders are numbered in the order they first log (from
    // kFirstRunPid) so that the file does not depend on the host's process ids.
    static constexpr int kFirstRunPid = 100;
    std::map<int, int> runPids_;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

} // namespace simhost
