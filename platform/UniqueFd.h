// The owner of one file descriptor.
#ifndef VELNOR_PLATFORM_UNIQUEFD_H
#define VELNOR_PLATFORM_UNIQUEFD_H

#include <unistd.h>
#include <utility>

namespace velnor {

class UniqueFd {
public:
    UniqueFd() noexcept = default;
    // Adopts what open and its like return, failures (-1) included; errno stays.
    explicit UniqueFd(int fd) noexcept : mFd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : mFd(other.Detach()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        Reset(other.Detach());
        return *this;
    }
    ~UniqueFd() { Reset(); }

    int Get() const noexcept { return mFd; }
    explicit operator bool() const noexcept { return mFd >= 0; }
    [[nodiscard]] int Detach() noexcept { return std::exchange(mFd, -1); }

    void Reset(int fd = -1) noexcept {
        const int old = std::exchange(mFd, fd);
        if (old >= 0) {
            ::close(old);
        }
    }
    // Closes now and tells whether the system took all that was written.
    [[nodiscard]] bool Close() noexcept { return ::close(Detach()) == 0; }

private:
    int mFd = -1;
};

} // namespace velnor

#endif
