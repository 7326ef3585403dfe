#include "bridge/SamplerAU.h"
#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFString.h"
#include "support/LogLine.h"

#include <cstring>
#include <string>

namespace velnor {

namespace {

constexpr UInt32 kVendorPropertySize = 4;
constexpr const char* kChunkKey = "OrmoData";

CFRef<CFStringRef> chunkKey() {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, kChunkKey, kCFStringEncodingASCII));
}

// The text with its terminating zero, the rest of the property's bytes 0.
void writeSetupPath(const std::string& dataDir, void* outData) {
    const std::string path = dataDir + ORMO_SETUP_FILE;
    auto* text = static_cast<char*>(outData);
    std::memset(text, 0, kOrmoSetupPathSize);
    path.copy(text, kOrmoSetupPathSize - 1);
}

// The first word of a value that may be shorter or not aligned.
UInt32 firstWord(const void* data, UInt32 size) {
    UInt32 word = 0;
    std::memcpy(&word, data, size < sizeof word ? size : sizeof word);
    return word;
}

} // namespace

OSStatus SamplerAU::GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                    AudioUnitElement inElement, UInt32& outDataSize,
                                    Boolean& outWritable) {
    UInt32 size = 0;
    if (inScope == kAudioUnitScope_Global) {
        if (inID == kPropertySetupPath) {
            size = kOrmoSetupPathSize;
        } else if (inID == kPropertyEngineOpcode) {
            size = sizeof(OrmoOpcodeProc);
        } else if (inID == kPropertyEngineHandle) {
            size = sizeof(OrmoEngineHandle);
        } else if (inID >= kVendorPropertyFirst) {
            size = kVendorPropertySize;
        }
    }
    if (size == 0) {
        return MusicDeviceBase::GetPropertyInfo(inID, inScope, inElement, outDataSize, outWritable);
    }
    outDataSize = size;
    outWritable = inID >= kVendorPropertyFirst;
    return noErr;
}

OSStatus SamplerAU::GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                AudioUnitElement inElement, void* outData) {
    if (inScope != kAudioUnitScope_Global) {
        return MusicDeviceBase::GetProperty(inID, inScope, inElement, outData);
    }
    if (inID >= kVendorPropertyFirst) {
        return vendorProperty(inID, outData);
    }
    switch (inID) {
    case kPropertySetupPath:
        writeSetupPath(mDataDir, outData);
        return noErr;
    case kPropertyEngineHandle: {
        const OrmoEngineHandle handle = mEngine.engineHandle();
        std::memcpy(outData, &handle, sizeof handle);
        return noErr;
    }
    case kPropertyEngineOpcode: {
        const OrmoOpcodeProc proc = mEngine.opcodeProc();
        std::memcpy(outData, &proc, sizeof proc);
        return noErr;
    }
    default:
        return MusicDeviceBase::GetProperty(inID, inScope, inElement, outData);
    }
}

OSStatus SamplerAU::SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                AudioUnitElement inElement, const void* inData, UInt32 inDataSize) {
    if (inScope == kAudioUnitScope_Global && inID == kAudioUnitProperty_OfflineRender) {
        setOfflineRender(firstWord(inData, inDataSize) != 0);
        return noErr;
    }
    if (inScope == kAudioUnitScope_Global && inID >= kVendorPropertyFirst) {
        if (inDataSize >= kVendorPropertySize) {
            return vendorProperty(inID, const_cast<void*>(inData));
        }
        UInt32 value = firstWord(inData, inDataSize);
        return vendorProperty(inID, &value);
    }
    return MusicDeviceBase::SetProperty(inID, inScope, inElement, inData, inDataSize);
}

void SamplerAU::setOfflineRender(bool offline) {
    mOfflineRender = offline;
    mEngine.suspend();
    mEngine.resume(mOfflineRender);
}

OSStatus SamplerAU::vendorProperty(AudioUnitPropertyID id, void* value) {
    if (!mEngine.isConnected()) {
        return kAudioUnitErr_Uninitialized;
    }
    const SInt32 result = mEngine.vendorProperty(id, value);
    if (result == 0) {
        return noErr;
    }
    LogLine(LogSeverity::kError, "set vendor specific engine error:" + std::to_string(result));
    return kAudioUnitErr_InvalidPropertyValue;
}

OSStatus SamplerAU::GetParameterInfo(AudioUnitScope /*inScope*/, AudioUnitParameterID /*inID*/,
                                     AudioUnitParameterInfo& /*outInfo*/) {
    return kAudioUnitErr_InvalidParameter;
}

OSStatus SamplerAU::GetParameterValueStrings(AudioUnitScope /*inScope*/,
                                             AudioUnitParameterID /*inID*/,
                                             CFArrayRef* /*outStrings*/) {
    return kAudioUnitErr_InvalidProperty;
}

OSStatus SamplerAU::SaveState(CFPropertyListRef* outState) {
    CFRef<CFPropertyListRef> state;
    if (const OSStatus status = MusicDeviceBase::SaveState(state.Out()); status != noErr) {
        return status;
    }
    const void* bytes = nullptr;
    std::size_t size = 0;
    if (mEngine.getChunk(bytes, size)) {
        const CFRef<CFDataRef> chunk(CFDataCreate(
            kCFAllocatorDefault, static_cast<const UInt8*>(bytes), static_cast<CFIndex>(size)));
        CFDictionarySetValue(static_cast<CFMutableDictionaryRef>(const_cast<void*>(state.Get())),
                             chunkKey().Get(), chunk.Get());
    }
    *outState = state.Detach();
    return noErr;
}

OSStatus SamplerAU::RestoreState(CFPropertyListRef inState) {
    const CFRef<CFStringRef> key = chunkKey(); // before anything changes: it takes memory
    if (const OSStatus status = MusicDeviceBase::RestoreState(inState); status != noErr) {
        return status;
    }
    const CFTypeRef chunk = CFDictionaryGetValue(static_cast<CFDictionaryRef>(inState), key.Get());
    if (chunk == nullptr || CFGetTypeID(chunk) != CFDataGetTypeID()) {
        return noErr;
    }
    const auto data = static_cast<CFDataRef>(chunk);
    mEngine.setChunk(CFDataGetBytePtr(data), static_cast<std::size_t>(CFDataGetLength(data)));
    return noErr;
}

} // namespace velnor
