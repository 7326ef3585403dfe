#include "host/instrument/PresetFile.h"

#include "host/instrument/Instrument.h"
#include "host/job/InputFile.h"
#include "host/job/JobError.h"
#include "host/job/PartialFile.h"
#include "platform/CFData.h"
#include "platform/CFPropertyList.h"

namespace velnor::host {

namespace {

constexpr std::size_t kPresetSizeLimit = 256u << 20;

} // namespace

CFRef<CFPropertyListRef> readPreset(const std::string& path) {
    const std::vector<std::uint8_t> bytes = readInputFile(path, kPresetSizeLimit);
    const CFRef<CFDataRef> data(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    CFRef<CFPropertyListRef> state(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    if (!state) {
        throw JobError(shownInput(path) + ": not a preset file: it is no property list");
    }
    return state;
}

void writePreset(const std::string& path, CFPropertyListRef state) {
    const CFRef<CFDataRef> data(CFPropertyListCreateData(
        kCFAllocatorDefault, state, kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    if (!data) {
        throw JobError(path + ": the instrument's state cannot be stored");
    }
    PartialFile file(path);
    file.write({reinterpret_cast<const char*>(CFDataGetBytePtr(data.Get())),
                static_cast<std::size_t>(CFDataGetLength(data.Get()))});
    file.commit();
}

CFRef<CFPropertyListRef> stateOf(AudioUnit unit) {
    CFPropertyListRef state = nullptr;
    UInt32 size = sizeof state;
    const OSStatus status = AudioUnitGetProperty(unit, kAudioUnitProperty_ClassInfo,
                                                 kAudioUnitScope_Global, 0, &state, &size);
    if (status != noErr) {
        throw JobError("the instrument does not give its state: " + statusText(status));
    }
    return CFRef<CFPropertyListRef>(state);
}

void restoreState(AudioUnit unit, CFPropertyListRef state, const std::string& name) {
    const OSStatus status = AudioUnitSetProperty(unit, kAudioUnitProperty_ClassInfo,
                                                 kAudioUnitScope_Global, 0, &state, sizeof state);
    if (status == kAudioUnitErr_InvalidPropertyValue) {
        throw JobError(name + ": the preset belongs to another instrument, or is damaged");
    }
    if (status != noErr) {
        throw JobError(name + ": the instrument refuses the preset: " + statusText(status));
    }
}

} // namespace velnor::host
