#include "engines/soundfont/Properties.h"

#include "engines/soundfont/Limits.h"
#include "engines/soundfont/SoundFontProperties.h"

#include <array>
#include <cstring>

namespace velnor::soundfont {

namespace {

constexpr size_t kValueSize = 4;

struct Property {
    uint32_t id;
    size_t offset; // in Globals
    bool isReal;   // else an integer
    Limits<float> realLimits;
    Limits<int32_t> integerLimits;
};

constexpr Property make(uint32_t id, size_t offset, Limits<float> limits) {
    return {id, offset, true, limits, {}};
}
constexpr Property make(uint32_t id, size_t offset, Limits<int32_t> limits) {
    return {id, offset, false, {}, limits};
}

constexpr std::array<Property, kSettableProperties> kProperties{
    make(kSoundFontGain, offsetof(Globals, gain), kGainLimits),
    make(kSoundFontPolyphony, offsetof(Globals, polyphony), kPolyphonyLimits),
    make(kSoundFontReverbOn, offsetof(Globals, reverb.on), kSwitchLimits),
    make(kSoundFontChorusOn, offsetof(Globals, chorus.on), kSwitchLimits),
    make(kSoundFontReverbRoomSize, offsetof(Globals, reverb.roomSize), kRoomSizeLimits),
    make(kSoundFontReverbDamping, offsetof(Globals, reverb.damping), kDampingLimits),
    make(kSoundFontReverbWidth, offsetof(Globals, reverb.width), kReverbWidthLimits),
    make(kSoundFontReverbLevel, offsetof(Globals, reverb.level), kReverbLevelLimits),
    make(kSoundFontChorusVoices, offsetof(Globals, chorus.voices), kChorusVoicesLimits),
    make(kSoundFontChorusLevel, offsetof(Globals, chorus.level), kChorusLevelLimits),
    make(kSoundFontChorusSpeed, offsetof(Globals, chorus.speed), kChorusSpeedLimits),
    make(kSoundFontChorusDepth, offsetof(Globals, chorus.depth), kChorusDepthLimits),
    make(kSoundFontChorusWave, offsetof(Globals, chorus.wave), kSwitchLimits),
};

template <class Value>
bool write(void* field, const Limits<Value>& limits, const void* bytes) {
    Value value;
    std::memcpy(&value, bytes, kValueSize);
    if (!limits.hold(value)) {
        return false;
    }
    value += Value{0}; // -0 becomes 0
    std::memcpy(field, &value, kValueSize);
    return true;
}

void* fieldOf(Globals& globals, const Property& property) VELNOR_NONBLOCKING {
    return reinterpret_cast<unsigned char*>(&globals) + property.offset;
}
const void* fieldOf(const Globals& globals, const Property& property) VELNOR_NONBLOCKING {
    return reinterpret_cast<const unsigned char*>(&globals) + property.offset;
}

} // namespace

size_t findProperty(uint32_t id) {
    const uint32_t setId = id & ~static_cast<uint32_t>(kSoundFontGet);
    size_t place = 0;
    while (place < kProperties.size() && kProperties[place].id != setId) {
        ++place;
    }
    return place;
}

bool writeProperty(Globals& globals, size_t place, const void* bytes) {
    const Property& property = kProperties[place];
    void* field = fieldOf(globals, property);
    return property.isReal ? write(field, property.realLimits, bytes)
                           : write(field, property.integerLimits, bytes);
}

void readProperty(const Globals& globals, size_t place, void* bytes) {
    std::memcpy(bytes, fieldOf(globals, kProperties[place]), kValueSize);
}

void copyProperties(const Globals& from, PropertySet chosen, Globals& to) VELNOR_NONBLOCKING {
    for (size_t place = 0; place < kProperties.size(); ++place) {
        if ((chosen >> place & 1U) != 0) {
            std::memcpy(fieldOf(to, kProperties[place]), fieldOf(from, kProperties[place]),
                        kValueSize);
        }
    }
}

} // namespace velnor::soundfont
