#include "CSocketLayerInitializer.h"
#include "StartUpOrder.h"

#include <memory>
#include <netinet/in.h>

namespace ORX::SockApi
{
struct sockaddr_in GL_EmptyAddress_X = {};
std::shared_ptr<CSocketLayerInitializer>
    GL_pSocketLayer_O SARVIK_STARTUP(SOCKET_LAYER) = std::make_shared<CSocketLayerInitializer>();
} // namespace ORX::SockApi
