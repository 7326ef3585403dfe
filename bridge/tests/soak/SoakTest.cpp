#include "bridge/tests/soak/SoakHost.h"
#include "platform/CFBase.h"
#include "platform/EventLoop.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <random>

namespace {

using namespace velnor::testing;

constexpr double kShortRun = 10.0; // simulated seconds, unless told otherwise
constexpr double kWarmUp = 0.25;   // the part of a run after which nothing may grow
// Bytes: what buffers may still grow to hold a larger block. In ten minutes, less than a kilobyte
// lost in each session is more.
constexpr std::size_t kMostGrowth = 256 * 1024;

double wantedSeconds() {
    const char* text = std::getenv("VELNOR_SOAK_SECONDS");
    return text != nullptr ? std::atof(text) : kShortRun;
}

std::uint64_t wantedSeed() {
    const char* text = std::getenv("VELNOR_SOAK_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : std::random_device()();
}

std::size_t bytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// The engine's data folder holds the SoundFont.
void prepare(TestHost& host, const std::string& engine) {
    std::filesystem::create_directories(host.home.Root() + "/data");
    std::filesystem::create_symlink("/usr/share/sounds/sf2/TimGM6mb.sf2",
                                    host.home.Root() + "/data/font.sf2");
    host.setDataDir(host.home.Root() + "/data");
    host.setEnginePath(builtBundle(engine));
}

class Soak : public ::testing::TestWithParam<const char*> {};

TEST_P(Soak, LosesNoEventAndDoesNotGrow) {
    const std::uint64_t seed = wantedSeed();
    const double end = wantedSeconds();
    ASSERT_GT(end, 0.0) << "VELNOR_SOAK_SECONDS";
    std::cout << "VELNOR_SOAK_SEED=" << seed << " VELNOR_SOAK_SECONDS=" << end << std::endl;
    TestHost home;
    prepare(home, GetParam());
    const std::string bundle = home.patchedComponent([](auto& record) { record.multiOutput = 1; });
    SoakHost host(bundle, seed, GetParam() == std::string("Probe.engine"));
    std::size_t bytes = 0;
    CFIndex objects = 0;
    while (host.seconds() < end && !HasFailure()) {
        host.playSession();
        if (bytes == 0 && host.seconds() > kWarmUp * end) {
            host.close();
            PlatformAdvanceEventLoop(1.0);
            bytes = bytesInUse();
            objects = PlatformLiveObjectCount();
        }
    }
    host.close();
    PlatformAdvanceEventLoop(1.0);
    const std::size_t now = bytesInUse();
    if (end > 10 * kShortRun) { // before that, every buffer is still on its way to its largest
        EXPECT_LE(now, bytes + kMostGrowth);
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
    EXPECT_GE(host.seconds(), end);
    EXPECT_GT(host.events(), 0U);
    EXPECT_GE(2 * host.soundingSessions(), host.longSessions());
    EXPECT_TRUE(home.alerts.Alerts().empty());
    std::cout << host.seconds() << " s, " << host.blocks() << " blocks, " << host.events()
              << " events, " << host.soundingSessions() << " of " << host.longSessions()
              << " long sessions heard; heap " << bytes << " bytes after a quarter, " << now
              << " at the end" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Engines, Soak, ::testing::Values("Probe.engine", "SoundFont.engine"),
                         [](const auto& engine) {
                             return std::string(engine.param, std::strchr(engine.param, '.'));
                         });

} // namespace
