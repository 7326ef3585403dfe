#include "host/audio/AudioFile.h"
#include "host/audio/LevelMeter.h"
#include "host/job/InputFile.h"
#include "host/job/PartialFile.h"
#include "host/job/TemporaryNames.h"
#include "testing/SystemFault.h"
#include "testing/Testing.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <memory>
#include <sndfile.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor::host {
namespace {

using namespace testing;

using AudioTest = InFolder;

std::uint32_t wordAt(const std::string& bytes, std::size_t at) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

mode_t modeOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST_F(AudioTest, EveryFormatHoldsItsSamplesRoundedAndClipped) {
    const float step16 = 1.0F / 32768, step24 = 1.0F / 8388608;
    const std::vector<float> left = {0,
                                     0.5F,
                                     -0.5F,
                                     1,
                                     -1,
                                     2,
                                     -2,
                                     0.4F * step16,
                                     0.6F * step16,
                                     -0.4F * step16,
                                     -0.6F * step16,
                                     0.4F * step24,
                                     -0.4F * step24,
                                     -0.6F * step24};
    const std::vector<float> right(left.rbegin(), left.rend());
    const auto total = static_cast<sf_count_t>(left.size());
    for (const auto& [container, samples, code, steps] : Rows<Container, SampleFormat, int, double>{
             {Container::kWav, SampleFormat::kInt16, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 32768},
             {Container::kWav, SampleFormat::kInt24, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 8388608},
             {Container::kWav, SampleFormat::kFloat, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0},
             {Container::kFlac, SampleFormat::kInt16, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 32768},
             {Container::kFlac, SampleFormat::kInt24, SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 8388608},
             {Container::kRaw, SampleFormat::kInt16, SF_FORMAT_RAW | SF_FORMAT_PCM_16, 32768},
             {Container::kRaw, SampleFormat::kInt24, SF_FORMAT_RAW | SF_FORMAT_PCM_24, 8388608},
             {Container::kRaw, SampleFormat::kFloat, SF_FORMAT_RAW | SF_FORMAT_FLOAT, 0}}) {
        SCOPED_TRACE(code);
        const std::string path = folder / "file";
        AudioFile file(path, {container, samples, 48000, 2, total});
        for (std::size_t at = 0; at < left.size(); at += 5) { // 5, 5 and 4 frames
            const float* const channels[] = {left.data() + at, right.data() + at};
            file.write(channels, std::min<std::size_t>(5, left.size() - at));
        }
        file.finish();
        SF_INFO info = {};
        if (container == Container::kRaw) {
            info = {0, 48000, 2, code | SF_ENDIAN_LITTLE, 0, 0};
        } else if (container == Container::kWav) {
            const std::string bytes = ReadFile(path);
            EXPECT_EQ(wordAt(bytes, 4), bytes.size() - 8);
        }
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> read(
            sf_open(path.c_str(), SFM_READ, &info), sf_close);
        ASSERT_TRUE(read) << sf_strerror(nullptr);
        EXPECT_EQ(info.frames, total);
        EXPECT_EQ(info.samplerate, 48000);
        EXPECT_EQ(info.channels, 2);
        EXPECT_EQ(info.format & ~SF_FORMAT_ENDMASK, code);
        std::vector<double> got(2 * left.size());
        sf_readf_double(read.get(), got.data(), total);
        for (std::size_t i = 0; i < got.size(); ++i) {
            const double given = i % 2 == 0 ? left[i / 2] : right[i / 2];
            const double rounded = std::clamp(std::round(given * steps), -steps, steps - 1) / steps;
            EXPECT_EQ(got[i], steps == 0 ? given : rounded) << given;
        }
    }
}

TEST(LevelMeter, TellsPeakAverageAndClippedSamples) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [left, right, peak, rms, clipped] :
         Rows<std::vector<float>, std::vector<float>, double, double, std::uint64_t>{
             {{1, -1, 1, -1, 1}, {-1, 1, 1, 1, 1}, 0, 0, 0},
             {{0.5F, 0.5F}, {0.5F, -0.5F}, -6.0206, -6.0206, 0},
             {{0, 0, 0, 0, 0, -2}, {0, 0, 0, 0, 0, 0}, 6.0206, -4.7712, 1},
             {{0, 0, 1.5F}, {-1.25F, 0, 1.0F}, 3.5218, -0.9578, 2},
             {{0, 0, 0, 0.25F, 0, 0, 0, 0}, std::vector<float>(8), -12.0412, -24.0824, 0},
             {{0, 0}, {0, 0}, -HUGE_VAL, -HUGE_VAL, 0}}) {
        LevelMeter meter;
        const float* const channels[] = {left.data(), right.data()};
        const float* const bad[] = {&nan};
        EXPECT_TRUE(meter.add(channels, left.size()));
        EXPECT_FALSE(meter.add(bad, 1));
        EXPECT_TRUE(meter.add(channels, left.size()));
        EXPECT_EQ(meter.clipped(), 2 * clipped);
        EXPECT_TRUE(peak == meter.peakDecibels() || std::fabs(meter.peakDecibels() - peak) < 1e-3)
            << meter.peakDecibels();
        EXPECT_TRUE(rms == meter.rmsDecibels() || std::fabs(meter.rmsDecibels() - rms) < 1e-3)
            << meter.rmsDecibels();
    }
}

TEST_F(AudioTest, AFileGetsItsNameModeAndPlaceOnlyWhenItIsWhole) {
    const std::string target = WriteFile(folder / "real/target", "old");
    std::filesystem::create_symlink(target, folder / "link");
    const mode_t mask = umask(027);
    for (int i = 0; i < 100; ++i) { // more than there are temporary files at once
        const PartialFile dropped(folder / "plain");
    }
    const PartialFile atCrash(folder / "plain");
    removeTemporaryFiles();
    for (const std::string& name :
         {std::string("plain"), std::string("link"), std::string(250, 'x')}) {
        PartialFile file(folder / name);
        ASSERT_EQ(write(file.descriptor(), "new", 3), 3);
        EXPECT_NE(ReadFile(folder / name), "new");
        file.commit();
        EXPECT_EQ(ReadFile(folder / name), "new");
        EXPECT_EQ(modeOf(folder / name), 0640U);
    }
    EXPECT_EQ(umask(mask), 027U);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_EQ(ReadFile(target), "new");
    const auto count = [&] {
        return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
    };
    EXPECT_EQ(count(), 4);
    if (canMakeFaults()) {
        EXPECT_EQ(lostToAPowerCut([&] {
                      PartialFile file(folder / "plain");
                      const bool wrote = write(file.descriptor(), "new", 3) == 3;
                      file.commit();
                      return wrote ? 0 : 1;
                  }),
                  "");
    }
    const ScopedEnv temporary("TMPDIR", (folder / "real").c_str());
    const PartialFile nameless("/dev/null");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "real"), {}), 1);
}

TEST(InputFile, ReadsAPipeToItsEndHoweverItsWriterPauses) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    std::atomic<bool> isRead{false};
    std::thread writer([&] {
        for (const char* piece : {"one ", "two ", "three"}) {
            EXPECT_GT(write(ends[1], piece, std::strlen(piece)), 0);
            for (int waiting = 1; waiting != 0 && !isRead;) { // until it was read
                std::this_thread::yield();
                ioctl(ends[0], FIONREAD, &waiting);
            }
        }
        close(ends[1]);
    });
    const std::string path = "/proc/self/fd/" + std::to_string(ends[0]);
    const std::vector<std::uint8_t> bytes = readInputFile(path, 100);
    isRead = true;
    writer.join();
    close(ends[0]);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "one two three");
}

} // namespace
} // namespace velnor::host
