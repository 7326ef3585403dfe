// The least program that plays a song through FluidSynth alone into a WAV file: the peer of
// `velnor-host render`.
//
//     fluid_minimal SONG.mid SOUNDFONT OUT.wav SECONDS   length as the host's
#include "host/audio/AudioFile.h"
#include "host/render/SongRenderer.h"
#include "host/song/MidiSong.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fluidsynth.h>
#include <vector>

namespace {

constexpr double kRate = 44100.0;
constexpr std::int64_t kBlock = 512;

void send(fluid_synth_t* synth, const velnor::host::SongMessage& message) {
    const int channel = message.status & 0x0F;
    switch (message.status & 0xF0) {
    case 0x80:
        fluid_synth_noteoff(synth, channel, message.data1);
        break;
    case 0x90:
        fluid_synth_noteon(synth, channel, message.data1, message.data2);
        break;
    case 0xA0:
        fluid_synth_key_pressure(synth, channel, message.data1, message.data2);
        break;
    case 0xB0:
        fluid_synth_cc(synth, channel, message.data1, message.data2);
        break;
    case 0xC0:
        fluid_synth_program_change(synth, channel, message.data1);
        break;
    case 0xD0:
        fluid_synth_channel_pressure(synth, channel, message.data1);
        break;
    default:
        fluid_synth_pitch_bend(synth, channel, message.data1 | message.data2 << 7);
    }
}

void play(fluid_synth_t* synth, const velnor::host::MidiSong& song, std::int64_t frames,
          velnor::host::AudioFile& file) {
    std::array<float, kBlock> left{};
    std::array<float, kBlock> right{};
    const float* const channels[] = {left.data(), right.data()};
    std::size_t next = 0;
    for (std::int64_t begin = 0; begin < frames; begin += kBlock) {
        const std::int64_t count = std::min(kBlock, frames - begin);
        std::int64_t done = 0;
        const auto renderTo = [&](std::int64_t end) {
            const int from = static_cast<int>(done);
            if (end > done) {
                fluid_synth_write_float(synth, static_cast<int>(end - done), left.data(), from, 1,
                                        right.data(), from, 1);
            }
            done = std::max(done, end);
        };
        for (; next < song.messages.size(); ++next) {
            const std::int64_t at =
                velnor::host::frameOfTick(song.tempoMap, song.messages[next].tick, kRate);
            if (at >= begin + count) {
                break;
            }
            renderTo(at - begin);
            send(synth, song.messages[next]);
        }
        renderTo(count);
        file.write(channels, static_cast<std::size_t>(count));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        return 2;
    }
    const velnor::host::MidiSong song = velnor::host::readMidiSong(argv[1]);
    fluid_settings_t* settings = new_fluid_settings();
    fluid_settings_setnum(settings, "synth.sample-rate", kRate);
    fluid_settings_setint(settings, "synth.threadsafe-api", 0);
    fluid_settings_setint(settings, "synth.dynamic-sample-loading", 1);
    fluid_synth_t* synth = new_fluid_synth(settings);
    fluid_synth_sfload(synth, argv[2], 1);
    velnor::host::AudioFile file(argv[3], {});
    play(synth, song, static_cast<std::int64_t>(std::atof(argv[4]) * kRate), file);
    file.finish();
    delete_fluid_synth(synth);
    delete_fluid_settings(settings);
    return 0;
}
