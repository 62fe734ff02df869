#pragma once
// Real-time monitor hooks around periodic tasks. The tool does not monitor: the hooks do nothing.
namespace Orx::Corvane::Monitoring
{
class RTMonitoring
{
public:
    static void OnTaskStart(unsigned int task);
    static void OnTaskStop(unsigned int task);
};
} // namespace Orx::Corvane::Monitoring
