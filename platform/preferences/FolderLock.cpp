#include "platform/preferences/FolderLock.h"

#include "platform/files/FolderMaking.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace velnor {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Only a file that is made here may be given away: another name of somebody else's file may wait
// there.
UniqueFd OpenOrMake(const std::string& folder, const std::string& path) {
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    UniqueFd file(open(path.c_str(), kFlags | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR));
    if (file) {
        TakeOwner(file.Get(), folder);
    } else if (errno == EEXIST) {
        file.Reset(open(path.c_str(), kFlags));
    }
    return file;
}

// A waiter asks again at growing intervals, so that a stopped holder cannot stop it for good.
bool LockWithin(int fd, milliseconds patience) {
    const auto deadline = steady_clock::now() + patience;
    for (milliseconds pause{1};; pause = std::min(2 * pause, milliseconds(8))) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if ((errno != EWOULDBLOCK && errno != EINTR) || steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
}

} // namespace

FolderLock::FolderLock(const std::string& folder, milliseconds patience)
    : mFile(OpenOrMake(folder, folder + "/.velnor-preferences.lock")),
      mHeld(mFile && LockWithin(mFile.Get(), patience)) {}

FolderLock::~FolderLock() {
    if (mHeld) {
        // Closing alone would leave it to a child process that has inherited the file.
        flock(mFile.Get(), LOCK_UN);
    }
}

} // namespace velnor
