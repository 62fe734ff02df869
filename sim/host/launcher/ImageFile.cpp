#include "ImageFile.h"

#include "SimServer.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simhost
{

namespace
{
std::string failure(const char* call, const std::string& what)
{
    return std::string(call) + "(" + what + "): " + std::strerror(errno);
}

// The file a path names in the end, so that a symbolic link to an image keeps being one.
std::string resolved(const std::string& path)
{
    char buffer[PATH_MAX];
    return realpath(path.c_str(), buffer) != nullptr ? std::string(buffer) : path;
}

bool writeAll(int fd, const std::vector<uint8_t>& bytes)
{
    size_t done = 0;
    while (done < bytes.size())
    {
        const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0 && errno != EINTR)
            return false;
        done += n > 0 ? static_cast<size_t>(n) : 0;
    }
    return fsync(fd) == 0;
}
} // namespace

ImageFile::~ImageFile()
{
    if (lockFd_ >= 0)
        close(lockFd_);
}

bool ImageFile::open(const std::string& path, const std::vector<uint8_t>& fresh, std::vector<uint8_t>* image,
                     std::string* error)
{
    path_ = resolved(path);
    struct stat st;
    if (stat(path_.c_str(), &st) != 0)
    {
        if (errno != ENOENT)
        {
            *error = "--eeprom " + path + ": " + std::strerror(errno);
            return false;
        }
        if (!save(fresh, error))
            return false;
    }
    else if (!S_ISREG(st.st_mode))
    {
        *error = "--eeprom " + path + ": " + (S_ISDIR(st.st_mode) ? "a folder" : "not a regular file") +
                 ", not an EEPROM image";
        return false;
    }
    // The lock belongs to the file the path names: a run that wrote back in between replaced it.
    for (;;)
    {
        lockFd_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
        if (lockFd_ < 0)
        {
            *error = failure("open", path);
            return false;
        }
        if (flock(lockFd_, LOCK_EX | LOCK_NB) != 0)
        {
            *error = "--eeprom " + path + ": in use by another run";
            return false;
        }
        struct stat locked;
        if (fstat(lockFd_, &locked) == 0 && stat(path_.c_str(), &st) == 0 && locked.st_ino == st.st_ino &&
            locked.st_dev == st.st_dev)
            return read(image, error);
        close(lockFd_);
    }
}

bool ImageFile::read(std::vector<uint8_t>* image, std::string* error) const
{
    image->assign(sim::SimServer::kEepromSize + 1, 0);
    size_t used = 0;
    ssize_t n = 0;
    while (used < image->size() &&
           (n = pread(lockFd_, image->data() + used, image->size() - used, static_cast<off_t>(used))) > 0)
        used += static_cast<size_t>(n);
    if (n < 0)
    {
        *error = failure("read", path_);
        return false;
    }
    if (used != sim::SimServer::kEepromSize)
    {
        *error = path_ + ": an EEPROM image holds 32768 bytes, this file " +
                 (used > sim::SimServer::kEepromSize ? std::string("more") : std::to_string(used));
        return false;
    }
    image->resize(used);
    return true;
}

bool ImageFile::save(const std::vector<uint8_t>& image, std::string* error) const
{
    struct stat old;
    const bool existed = stat(path_.c_str(), &old) == 0;
    std::string temporary = path_ + ".XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0)
    {
        *error = failure("mkstemp", temporary);
        return false;
    }
    const bool written = writeAll(fd, image) && fchmod(fd, existed ? old.st_mode & 07777 : 0644) == 0 &&
                         (!existed || fchown(fd, old.st_uid, old.st_gid) == 0);
    if (close(fd) != 0 || !written || rename(temporary.c_str(), path_.c_str()) != 0)
    {
        *error = failure("write", path_);
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

} // namespace simhost
