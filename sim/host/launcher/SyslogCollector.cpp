#include "SyslogCollector.h"

#include "TraceJson.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace simhost
{

SyslogCollector::~SyslogCollector()
{
    stop();
    if (socket_ >= 0)
        close(socket_);
    if (out_ >= 0)
        close(out_);
}

bool SyslogCollector::open(const std::string& socketPath, const std::string& outPath,
                           const VirtualClock& clock, std::string* error)
{
    clock_ = clock;
    socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0)
    {
        *error = std::string("socket(AF_UNIX): ") + std::strerror(errno);
        return false;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socketPath.size() >= sizeof address.sun_path)
    {
        *error = "bind(" + socketPath + "): path too long";
        return false;
    }
    std::strcpy(address.sun_path, socketPath.c_str());
    const int on = 1;
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        setsockopt(socket_, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0)
    {
        *error = "bind(" + socketPath + "): " + std::strerror(errno);
        return false;
    }
    chmod(socketPath.c_str(), 0666);
    if (!outPath.empty())
    {
        out_ = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (out_ < 0)
        {
            *error = "open(" + outPath + "): " + std::strerror(errno);
            return false;
        }
    }
    return true;
}

void SyslogCollector::start()
{
    thread_ = std::thread([this] { loop(); });
}

void SyslogCollector::stop()
{
    if (!thread_.joinable())
        return;
    stopping_ = true;
    thread_.join();
}

void SyslogCollector::loop()
{
    for (;;)
    {
        pollfd p{socket_, POLLIN, 0};
        const int ready = poll(&p, 1, 50);
        if (ready > 0)
        {
            receiveOne();
            continue;
        }
        if (stopping_)
        {
            // Drain what is queued: the command has ended, nothing new can be on its way.
            while (receiveOne())
            {
            }
            return;
        }
    }
}

bool SyslogCollector::receiveOne()
{
    char buffer[8192];
    char control[CMSG_SPACE(sizeof(ucred))];
    iovec io{buffer, sizeof buffer - 1};
    msghdr header{};
    header.msg_iov = &io;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const ssize_t n = recvmsg(socket_, &header, MSG_DONTWAIT);
    if (n < 0)
        return false;
    SyslogMessage message;
    // Counted once written: its sender waits for the count, so the clock has not moved meanwhile.
    struct Stamped
    {
        ClockPage* page;
        ~Stamped()
        {
            if (page != nullptr)
                page->syslogStamped.fetch_add(1);
        }
    } stamped{clock_.page()};
    if (!parse(std::string(buffer, static_cast<size_t>(n)), &message))
        return true;
    for (cmsghdr* c = CMSG_FIRSTHDR(&header); c != nullptr; c = CMSG_NXTHDR(&header, c))
    {
        if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_CREDENTIALS && message.pid < 0)
        {
            ucred credentials;
            std::memcpy(&credentials, CMSG_DATA(c), sizeof credentials);
            message.pid = credentials.pid;
        }
    }
    if (clock_.reproducible())
        message.pid =
            runPids_.emplace(message.pid, kFirstRunPid + static_cast<int>(runPids_.size())).first->second;
    if (out_ >= 0)
    {
        const std::string line = toJson(message, static_cast<uint64_t>(clock_.monotonicNow())) + "\n";
        [[maybe_unused]] ssize_t written = write(out_, line.data(), line.size());
    }
    return true;
}

bool SyslogCollector::parse(const std::string& datagram, SyslogMessage* message)
{
    // "<PRI>" then a 15-character time stamp and a blank.
    if (datagram.size() < 3 || datagram[0] != '<')
        return false;
    const size_t close = datagram.find('>');
    if (close == std::string::npos || close == 1 || close > 4)
        return false;
    const int pri = std::atoi(datagram.substr(1, close - 1).c_str());
    message->facility = pri >> 3;
    message->priority = pri & 7;
    size_t pos = close + 1;
    if (datagram.size() >= pos + 16 && datagram[pos + 15] == ' ')
        pos += 16;
    std::string rest = datagram.substr(pos);
    while (!rest.empty() && (rest.back() == '\n' || rest.back() == '\0'))
        rest.pop_back();
    const size_t colon = rest.find(": ");
    std::string head = colon == std::string::npos ? "" : rest.substr(0, colon);
    message->text = colon == std::string::npos ? rest : rest.substr(colon + 2);
    const size_t bracket = head.rfind('[');
    if (bracket != std::string::npos && head.back() == ']')
    {
        message->pid = std::atol(head.substr(bracket + 1).c_str());
        head.resize(bracket);
    }
    message->ident = head;
    return true;
}

std::string SyslogCollector::toJson(const SyslogMessage& message, uint64_t nowNs)
{
    sim::TraceJson line(nowNs, "syslog");
    line.str("ident", message.ident)
        .snum("facility", message.facility)
        .snum("priority", message.priority)
        .snum("pid", message.pid)
        .str("message", message.text);
    return line.line();
}

} // namespace simhost
