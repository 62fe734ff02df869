#pragma once
// Construction order of the start-up objects, lowest first; destruction runs in reverse.
// Each global carries its number through init_priority, because C++ leaves the order across
// translation units open. GCC keeps 0..100 for itself; the tool's own globals have no priority
// and so are built after all of these and destroyed before them.
namespace StartUpOrder
{
constexpr int STANDARD_DESCRIPTORS = 101;
constexpr int TICKS_PER_SECOND = 102;
constexpr int CONSOLE = 103;
constexpr int SOCKET_LAYER = 104;
constexpr int TIMER = 105;
constexpr int DRIVER_PERMISSIONS = 106;
constexpr int SWITCH_LOG = 107;
constexpr int PERMISSIONS_MODULE = 108;
} // namespace StartUpOrder

// On a global object of class type.
#define SARVIK_STARTUP(step) __attribute__((init_priority(StartUpOrder::step)))
// On a function that sets up plain data; same queue, so the numbers order both kinds.
#define SARVIK_STARTUP_FUNCTION(step) __attribute__((constructor(StartUpOrder::step)))
