#pragma once
// Construction order of the start-up objects, lowest first; destruction runs in reverse.
// Each global carries its number through init_priority, because C++ leaves the order across
// translation units open. GCC keeps 0..100 for itself; the tool's own globals have no priority
// and so are built after all of these and destroyed before them.
namespace StartUpOrder
{
constexpr int TICKS_PER_SECOND = 101;
constexpr int CONSOLE = 102;
constexpr int SOCKET_LAYER = 103;
constexpr int TIMER = 104;
constexpr int DRIVER_PERMISSIONS = 105;
constexpr int SWITCH_LOG = 106;
constexpr int PERMISSIONS_MODULE = 107;
} // namespace StartUpOrder

// On a global object of class type.
#define SARVIK_STARTUP(step) __attribute__((init_priority(StartUpOrder::step)))
// On a function that sets up plain data; same queue, so the numbers order both kinds.
#define SARVIK_STARTUP_FUNCTION(step) __attribute__((constructor(StartUpOrder::step)))
