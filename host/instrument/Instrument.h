// An open instrument component, as a host holds it.
#ifndef VELNOR_HOST_INSTRUMENT_INSTRUMENT_H
#define VELNOR_HOST_INSTRUMENT_INSTRUMENT_H

#include "platform/AudioUnit.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velnor::host {

// Closes the component when it goes. Thread main but for the calls marked render, which one other
// thread may use instead; exclusive. Failures throw JobError with the platform's status in words.
class Instrument {
public:
    explicit Instrument(Component component);
    ~Instrument();
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    AudioUnit unit() const { return mUnit; }

    // Before initialize(): frames per second for every bus; the most frames of one pull; whether
    // the render may take its time.
    void setRate(double rate);
    void setMaximumFrames(UInt32 frames);
    void setOffline(bool offline);
    // One bus for each entry, of so many channels.
    void setBuses(const std::vector<UInt32>& channels);
    void setCallbacks(const HostCallbackInfo& callbacks);
    void initialize();

    // Once initialised, with an engine: better sound for more time, if the engine has any.
    void setBestQuality();

    // Whether there is a sound engine that plays: once initialised.
    bool hasEngine() const;
    UInt32 busCount() const;
    UInt32 channelsOfBus(UInt32 bus) const;

    // render: a message that takes effect so many frames into the next pull.
    void send(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, UInt32 offset);
    // render: pulls every bus for the same frames, the first of them numbered sampleTime. After it
    // bus(b) is what bus b gave: one run of frames per channel, valid until the next pull.
    void pull(std::int64_t sampleTime, UInt32 frames);
    UInt32 pulledBuses() const { return static_cast<UInt32>(mBuses.size()); }
    std::span<const float* const> bus(UInt32 number) const { return mBuses[number].channels; }

private:
    struct Bus {
        std::vector<unsigned char> list; // an AudioBufferList with room for every channel
        std::vector<float> samples;
        std::vector<const float*> channels;
    };

    void setProperty(AudioUnitPropertyID id, AudioUnitScope scope, UInt32 element, const void* data,
                     UInt32 size, const char* what);
    void prepareBuses();
    void prepareList(Bus& bus, UInt32 frames);

    AudioUnit mUnit = nullptr;
    UInt32 mMaximumFrames = 0;
    std::vector<Bus> mBuses;
};

// A status as people know it: "-10868 (format not supported)".
std::string statusText(OSStatus status);

} // namespace velnor::host

#endif
