// The owner of an open file.
#ifndef VELNOR_HOST_JOB_FILEDESCRIPTOR_H
#define VELNOR_HOST_JOB_FILEDESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace velnor::host {

// Closes it when it goes. Below 0: none.
class FileDescriptor {
public:
    explicit FileDescriptor(int opened) : mNumber(opened) {}
    ~FileDescriptor() {
        if (mNumber >= 0) {
            close(mNumber);
        }
    }
    FileDescriptor(FileDescriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(mNumber, other.mNumber);
        return *this;
    }

    int number() const { return mNumber; }
    explicit operator bool() const { return mNumber >= 0; }

private:
    int mNumber;
};

} // namespace velnor::host

#endif
