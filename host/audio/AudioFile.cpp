#include "host/audio/AudioFile.h"

#include "host/job/JobError.h"
#include "host/job/Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velnor::host {

namespace {

// What WAV's sizes leave for the samples, and how many frames FLAC counts.
constexpr std::int64_t kMostWavBytes = (std::int64_t{1} << 32) - 4096;
constexpr std::int64_t kMostFlacFrames = (std::int64_t{1} << 36) - 1;

// The library takes integer samples in the upper bits of 32.
constexpr double kFullScale = 2147483648.0;

int bytesOfSample(SampleFormat samples) {
    return samples == SampleFormat::kInt16 ? 2 : samples == SampleFormat::kInt24 ? 3 : 4;
}

bool outgrowsWav(const AudioFormat& format) {
    const int frame = format.channels * bytesOfSample(format.samples);
    return format.container == Container::kWav && format.mostFrames > kMostWavBytes / frame;
}

int sndfileFormat(const AudioFormat& format) {
    int code = outgrowsWav(format) ? SF_FORMAT_RF64 : SF_FORMAT_WAV;
    if (format.container == Container::kFlac) {
        code = SF_FORMAT_FLAC;
    }
    if (format.container == Container::kRaw) {
        code = SF_FORMAT_RAW | SF_ENDIAN_LITTLE;
    }
    switch (format.samples) {
    case SampleFormat::kInt16:
        return code | SF_FORMAT_PCM_16;
    case SampleFormat::kInt24:
        return code | SF_FORMAT_PCM_24;
    case SampleFormat::kFloat:
        return code | SF_FORMAT_FLOAT;
    }
    return code;
}

// Of an integer sample, from silence to full scale; 0 for a float.
float stepsOf(SampleFormat samples) {
    return samples == SampleFormat::kInt16   ? 32768.0F
           : samples == SampleFormat::kInt24 ? 8388608.0F
                                             : 0.0F;
}

std::string shownName(const PartialFile& file) {
    return file.path() == "-" ? "standard output" : file.path();
}

} // namespace

void AudioFile::Close::operator()(SNDFILE* file) const {
    sf_close(file);
}

AudioFile::AudioFile(const std::string& path, const AudioFormat& format) : mPartial(path) {
    SF_INFO info = {};
    info.samplerate = format.rate;
    info.channels = format.channels;
    info.format = sndfileFormat(format);
    if (!sf_format_check(&info)) {
        throw JobError(shownName(mPartial) + ": the file format cannot hold " +
                           std::to_string(format.channels) + " channels of these samples at " +
                           std::to_string(format.rate) + " Hz; choose another --format or --bits",
                       kExitUsage);
    }
    if (format.container == Container::kFlac && format.mostFrames > kMostFlacFrames) {
        throw JobError(shownName(mPartial) + ": too long for FLAC; choose --format wav or raw",
                       kExitUsage);
    }
    mFile.reset(mStream.open(info));
    if (!mFile) {
        fail(sf_strerror(nullptr));
    }
    if (outgrowsWav(format)) {
        printNotice(shownName(mPartial) +
                    ": as it may exceed 4 GiB it is written as RF64, WAV with 64-bit sizes");
    }
    mSteps = stepsOf(format.samples);
}

AudioFile::~AudioFile() = default;

void AudioFile::fail(const char* reason) const {
    throw JobError(shownName(mPartial) + ": " +
                   (mStream.error() != 0 ? std::strerror(mStream.error()) : reason));
}

void AudioFile::write(std::span<const float* const> channels, std::size_t frames) {
    mInterleaved.resize(frames * channels.size());
    for (std::size_t number = 0; number < channels.size(); ++number) {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            mInterleaved[frame * channels.size() + number] = channels[number][frame];
        }
    }
    const auto count = static_cast<sf_count_t>(frames);
    if ((mSteps == 0.0F ? sf_writef_float(mFile.get(), mInterleaved.data(), count)
                        : sf_writef_int(mFile.get(), roundedSamples(), count)) != count) {
        fail(sf_strerror(mFile.get()));
    }
}

// The library would cut off what is below a step in some containers, and round in others.
const int* AudioFile::roundedSamples() {
    const float steps = mSteps;
    const int toTop = static_cast<int>(kFullScale / static_cast<double>(steps));
    mRounded.resize(mInterleaved.size());
    std::transform(mInterleaved.begin(), mInterleaved.end(), mRounded.begin(), [=](float sample) {
        const float rounded = std::nearbyint(std::clamp(sample * steps, -steps, steps - 1.0F));
        return static_cast<int>(rounded) * toTop;
    });
    return mRounded.data();
}

void AudioFile::finish() {
    if (sf_close(mFile.release()) != SF_ERR_NO_ERROR || mStream.error() != 0) {
        fail("it could not be completed");
    }
    mPartial.commit();
}

} // namespace velnor::host
