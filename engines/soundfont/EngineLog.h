// The engine's words on standard error, and FluidSynth's kept off it.
#ifndef VELNOR_ENGINES_SOUNDFONT_ENGINELOG_H
#define VELNOR_ENGINES_SOUNDFONT_ENGINELOG_H

#include <string>
#include <string_view>

namespace velnor::soundfont {

// One line, "soundfont engine: " and the message, cut at 1,000 bytes, in one write. Thread any,
// concurrent, may block.
void logError(std::string_view message) noexcept;

// While one lives, the first error that FluidSynth reports on this thread is kept in it. FluidSynth
// reports several for one failure, and warnings for what is no failure; nothing of that is printed
// by itself, and nothing at all while rendering, where writing could block. Thread any, concurrent
// (a second one waits for the first), may block.
class FluidErrors {
public:
    FluidErrors();
    ~FluidErrors();
    FluidErrors(const FluidErrors&) = delete;
    FluidErrors& operator=(const FluidErrors&) = delete;

    // fallback when FluidSynth said nothing.
    std::string firstOr(const std::string& fallback) const;
    void keep(const char* message);

private:
    std::string mFirst;
};

} // namespace velnor::soundfont

#endif
