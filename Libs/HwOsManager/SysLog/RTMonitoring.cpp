#include "RTMonitoring.h"

namespace Orx::Corvane::Monitoring
{
void RTMonitoring::OnTaskStart(unsigned int) {}

void RTMonitoring::OnTaskStop(unsigned int) {}
} // namespace Orx::Corvane::Monitoring
