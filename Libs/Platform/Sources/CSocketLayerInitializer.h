#pragma once
// Process-wide set-up of the socket layer, shared by every socket user.

class CSocketLayerInitializer
{
public:
    // Writes to a closed socket or pipe then fail with EPIPE instead of ending the process.
    CSocketLayerInitializer();
};
