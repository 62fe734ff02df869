#include "TraceFile.h"

#include <fcntl.h>
#include <unistd.h>

namespace simhost
{

TraceFile::TraceFile(const std::string& path)
{
    if (!path.empty())
        fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

TraceFile::~TraceFile()
{
    if (fd_ >= 0)
        ::close(fd_);
}

void TraceFile::emit(const std::string& jsonObject)
{
    if (fd_ < 0)
        return;
    const std::string line = jsonObject + "\n";
    [[maybe_unused]] ssize_t n = ::write(fd_, line.data(), line.size());
}

} // namespace simhost
