// How the processes that write to one log know of each other.
#ifndef VELNOR_SUPPORT_SHAREDLOG_H
#define VELNOR_SUPPORT_SHAREDLOG_H

#include <functional>
#include <string>

namespace velnor {

// The last byte of a log that was closed.
constexpr char kCleanCloseMark = '@';

// Makes this process a writer of the log until it leaves as often as it has entered, or ends in
// whatever way. When no other process is one, saveOld runs and the file is emptied, while nobody
// else can enter. A process that cannot have a lock takes itself for the only one. Thread main, may
// block.
void enterSharedLog(const std::string& path, const std::function<void()>& saveOld);

// Leaves at the end of a scope.
class SharedLogExit {
public:
    explicit SharedLogExit(const std::string& path) noexcept;
    ~SharedLogExit();
    SharedLogExit(const SharedLogExit&) = delete;
    SharedLogExit& operator=(const SharedLogExit&) = delete;

    // True when no other process writes to the log, and none can enter until the end of the scope;
    // also for a log that was not entered.
    bool IsLast() const { return mIsLast; }

private:
    const std::string& mPath;
    bool mIsLast = true;
};

} // namespace velnor

#endif
