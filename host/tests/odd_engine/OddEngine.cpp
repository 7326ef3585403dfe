/* An engine that renders badly in the way that VELNOR_ODD_ENGINE names: "crash", "abort", "throw",
 * "nan", "infinite", "denormal", "slow" (a tenth of a second a block), "stall" (a second for the
 * first block), "loud". Otherwise it is silent. */
#include "bridge/OrmoEngine.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <utility>

#include <unistd.h>

namespace {

std::uint32_t sChannels = 0;
bool sStalled = false;

float badSample(const std::string& way) {
    if (way == "nan")
        return std::numeric_limits<float>::quiet_NaN();
    if (way == "infinite")
        return -std::numeric_limits<float>::infinity();
    if (way == "denormal")
        return std::numeric_limits<float>::denorm_min();
    return way == "loud" ? 2.0F : 0.0F;
}

void render(float* const* channels, std::uint32_t frames) {
    const char* named = std::getenv("VELNOR_ODD_ENGINE");
    const std::string way = named ? named : "";
    if (way == "crash")
        std::raise(SIGSEGV);
    if (way == "abort")
        std::abort();
    if (way == "throw")
        throw std::string("no engine should");
    if (way == "stall" && !std::exchange(sStalled, true))
        std::this_thread::sleep_for(std::chrono::seconds(1));
    if (way == "slow")
        usleep(100000);
    for (std::uint32_t channel = 0; channel < sChannels; ++channel)
        for (std::uint32_t i = 0; i < frames; ++i)
            channels[channel][i] = badSample(way);
}

} // namespace

extern "C" __attribute__((visibility("default"))) std::int32_t
ormoOpcode(OrmoWord, OrmoWord opcode, OrmoWord ptr1, OrmoWord ptr2, OrmoWord, OrmoWord val1,
           OrmoWord, OrmoWord, OrmoWord) {
    switch (opcode) {
    case kOpGetVersion:
        std::strcpy(reinterpret_cast<char*>(ptr1), "odd");
        return 0;
    case kOpOpenInstance:
        sChannels = reinterpret_cast<const EngineOpenBlock*>(ptr1)->channelCount;
        *reinterpret_cast<OrmoEngineHandle*>(ptr2) = 1;
        return 0;
    case kOpProcess:
        render(reinterpret_cast<float* const*>(ptr2), static_cast<std::uint32_t>(val1));
        return 0;
    default:
        return 0;
    }
}
