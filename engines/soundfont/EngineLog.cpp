#include "engines/soundfont/EngineLog.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fluidsynth.h>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace velnor::soundfont {

namespace {

std::mutex gMutex;
std::atomic<std::thread::id> gThread;
FluidErrors* gErrors = nullptr; // of gThread

void keepError(int, const char* message, void*) {
    if (message != nullptr && gThread.load() == std::this_thread::get_id()) {
        gErrors->keep(message);
    }
}

void routeFluidLog() {
    fluid_set_log_function(FLUID_PANIC, keepError, nullptr);
    fluid_set_log_function(FLUID_ERR, keepError, nullptr);
    fluid_set_log_function(FLUID_WARN, nullptr, nullptr);
    fluid_set_log_function(FLUID_INFO, nullptr, nullptr);
    fluid_set_log_function(FLUID_DBG, nullptr, nullptr);
}

} // namespace

void logError(std::string_view message) noexcept {
    constexpr std::string_view kPrefix = "soundfont engine: ";
    constexpr size_t kMostBytes = 1000;
    std::array<char, kPrefix.size() + kMostBytes + 1> line;
    message = message.substr(0, kMostBytes);
    char* end = std::copy(kPrefix.begin(), kPrefix.end(), line.data());
    end = std::replace_copy_if(
        message.begin(), message.end(), end,
        [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    *end++ = '\n';
    // Nothing is left to do when even this fails.
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, line.data(), static_cast<size_t>(end - line.data()));
}

FluidErrors::FluidErrors() {
    gMutex.lock();
    gErrors = this;
    gThread.store(std::this_thread::get_id());
    routeFluidLog();
}

FluidErrors::~FluidErrors() {
    gThread.store(std::thread::id());
    gErrors = nullptr;
    gMutex.unlock();
}

std::string FluidErrors::firstOr(const std::string& fallback) const {
    return mFirst.empty() ? fallback : mFirst;
}

void FluidErrors::keep(const char* message) {
    if (mFirst.empty()) {
        mFirst = message;
    }
}

} // namespace velnor::soundfont
