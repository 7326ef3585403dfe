// Writing what an instrument plays into an audio file.
#ifndef VELNOR_HOST_AUDIO_AUDIOFILE_H
#define VELNOR_HOST_AUDIO_AUDIOFILE_H

#include "host/job/DescriptorStream.h"
#include "host/job/PartialFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace velnor::host {

enum class Container { kWav, kFlac, kRaw };
enum class SampleFormat { kInt16, kInt24, kFloat };

struct AudioFormat {
    Container container = Container::kWav;
    SampleFormat samples = SampleFormat::kInt16;
    int rate = 44100; // frames per second
    int channels = 2;
    std::int64_t mostFrames = 0; // that will be written
};

// Integers are rounded to the nearest step, without dither, and clipped. Raw is the samples alone,
// little-endian, interleaved. A WAV file that might outgrow its 32-bit sizes is written as RF64,
// which a notice says. Thread main.
class AudioFile {
public:
    // Throws JobError: the path (see PartialFile), or a format that the file cannot have.
    AudioFile(const std::string& path, const AudioFormat& format);
    ~AudioFile();

    // As many runs of frames samples as the format has channels. Throws JobError when the disk is
    // full.
    void write(std::span<const float* const> channels, std::size_t frames);
    // Makes the file whole and gives it its name.
    void finish();

private:
    struct Close {
        void operator()(SNDFILE* file) const;
    };

    const int* roundedSamples();
    [[noreturn]] void fail(const char* reason) const;

    PartialFile mPartial;
    DescriptorStream mStream{mPartial.descriptor()};
    std::unique_ptr<SNDFILE, Close> mFile;
    std::vector<float> mInterleaved;
    std::vector<int> mRounded;
    float mSteps = 0.0F; // of an integer sample's full scale; 0: float
};

} // namespace velnor::host

#endif
