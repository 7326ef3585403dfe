// What FluidSynth renders by itself, without the engine.
#ifndef VELNOR_TESTING_FLUIDSYNTHALONE_H
#define VELNOR_TESTING_FLUIDSYNTHALONE_H

#include <cstdint>
#include <fluidsynth.h>
#include <memory>
#include <vector>

namespace velnor::testing {

inline constexpr char kFontFile[] = "/usr/share/sounds/sf2/TimGM6mb.sf2";

struct TimedEvent {
    int64_t frame;
    uint8_t status, data1, data2;
};

using Channels = std::vector<std::vector<float>>;

// Left and right, fetched up to each event.
inline Channels renderAlone(const std::vector<TimedEvent>& events, int frames, int rate,
                            int interpolation) {
    fluid_set_log_function(FLUID_WARN, nullptr, nullptr);
    const std::unique_ptr<fluid_settings_t, decltype(&delete_fluid_settings)> settings(
        new_fluid_settings(), delete_fluid_settings);
    fluid_settings_setnum(settings.get(), "synth.sample-rate", rate);
    fluid_settings_setint(settings.get(), "synth.dynamic-sample-loading", 1);
    const std::unique_ptr<fluid_synth_t, decltype(&delete_fluid_synth)> synth(
        new_fluid_synth(settings.get()), delete_fluid_synth);
    const std::unique_ptr<fluid_midi_event_t, decltype(&delete_fluid_midi_event)> message(
        new_fluid_midi_event(), delete_fluid_midi_event);
    fluid_synth_sfload(synth.get(), kFontFile, 1);
    fluid_synth_set_interp_method(synth.get(), -1, interpolation);
    Channels out(2, std::vector<float>(static_cast<size_t>(frames)));
    int position = 0;
    const auto renderTo = [&](int64_t end) {
        fluid_synth_write_float(synth.get(), static_cast<int>(end) - position, out[0].data(),
                                position, 1, out[1].data(), position, 1);
        position = static_cast<int>(end);
    };
    for (const TimedEvent& event : events) {
        if (event.frame > position) {
            renderTo(event.frame);
        }
        fluid_midi_event_set_type(message.get(), event.status & 0xF0);
        fluid_midi_event_set_channel(message.get(), event.status & 0x0F);
        fluid_midi_event_set_key(message.get(), event.data1);
        fluid_midi_event_set_velocity(message.get(), event.data2);
        if ((event.status & 0xF0) == 0xE0) {
            fluid_midi_event_set_pitch(message.get(), event.data1 | event.data2 << 7);
        }
        fluid_synth_handle_midi_event(synth.get(), message.get());
    }
    renderTo(frames);
    return out;
}

} // namespace velnor::testing

#endif
