// The run's protocol trace: JSON lines appended to one file by every process of the run. Each
// line is written with a single write() on an O_APPEND descriptor, so lines from several
// processes never interleave.
#pragma once

#include "SimServer.h"

#include <string>

namespace simhost
{

class TraceFile : public sim::TraceSink
{
public:
    explicit TraceFile(const std::string& path);
    ~TraceFile() override;
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    void emit(const std::string& jsonObject) override;

private:
    int fd_ = -1;
};

} // namespace simhost
