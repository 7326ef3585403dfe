// The properties of buses: formats, layouts, sources and buffers.
#include "framework/PropertyTable.h"
#include "framework/PropertyValue.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velnor {

namespace {

using At = const PropertyAddress&;

/// A host may leave out the reserved word at the end; the bus keeps its own then.
constexpr UInt32 kSmallestFormat = offsetof(AudioStreamBasicDescription, mReserved);
constexpr std::size_t kLayoutHeader = offsetof(AudioChannelLayout, mChannelDescriptions);
constexpr UInt32 kExternalBufferAlignment = 16;

void RequireElement(AUBase& inUnit, At inAt) {
    inUnit.GetScope(inAt.scope).SafeGetElement(inAt.element);
}

OSStatus WriteConnection(AUBase& inUnit, At, const void* inData, UInt32 inSize) {
    return inUnit.SetConnection(TakeValue<AudioUnitConnection>(inData, inSize));
}

OSStatus FormatInfo(AUBase& inUnit, At inAt, PropertyInfo& ioInfo) {
    inUnit.GetStreamFormat(inAt.scope, inAt.element);
    ioInfo.writable = inUnit.StreamFormatWritable(inAt.scope, inAt.element);
    return noErr;
}

OSStatus ReadFormat(AUBase& inUnit, At inAt, void* outData) {
    return StoreValue(outData, inUnit.GetStreamFormat(inAt.scope, inAt.element));
}

OSStatus ApplyFormat(AUBase& inUnit, At inAt, const AudioStreamBasicDescription& inFormat) {
    if (!inUnit.ValidFormat(inAt.scope, inAt.element, inFormat)) {
        return kAudioUnitErr_FormatNotSupported;
    }
    const AudioStreamBasicDescription old = inUnit.GetStreamFormat(inAt.scope, inAt.element);
    const bool isSame = FormatsAreEqual(old, inFormat);
    if (isSame && old.mReserved == inFormat.mReserved) {
        return noErr;
    }
    if (!inUnit.StreamFormatWritable(inAt.scope, inAt.element)) {
        return isSame ? OSStatus{noErr} : OSStatus{kAudioUnitErr_PropertyNotWritable};
    }
    return inUnit.ChangeStreamFormat(inAt.scope, inAt.element, old, inFormat);
}

OSStatus WriteFormat(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    if (inSize < kSmallestFormat) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    AudioStreamBasicDescription format = {};
    if (inSize < sizeof format) {
        format = inUnit.GetStreamFormat(inAt.scope, inAt.element);
        inSize = kSmallestFormat;
    }
    std::memcpy(&format, inData, std::min<std::size_t>(inSize, sizeof format));
    return ApplyFormat(inUnit, inAt, format);
}

OSStatus ReadSampleRate(AUBase& inUnit, At inAt, void* outData) {
    return StoreValue(outData, inUnit.GetStreamFormat(inAt.scope, inAt.element).mSampleRate);
}

OSStatus WriteSampleRate(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    AudioStreamBasicDescription format = inUnit.GetStreamFormat(inAt.scope, inAt.element);
    format.mSampleRate = TakeValue<Float64>(inData, inSize);
    return ApplyFormat(inUnit, inAt, format);
}

OSStatus ChannelCountsInfo(AUBase& inUnit, At, PropertyInfo& ioInfo) {
    ioInfo.size = inUnit.SupportedNumChannels(nullptr) * static_cast<UInt32>(sizeof(AUChannelInfo));
    return OfferedIf(ioInfo.size != 0);
}

OSStatus ReadChannelCounts(AUBase& inUnit, At, void* outData) {
    const AUChannelInfo* infos = nullptr;
    const UInt32 count = inUnit.SupportedNumChannels(&infos);
    std::memcpy(outData, infos, count * sizeof(AUChannelInfo));
    return noErr;
}

/// The input bus, or in every other scope the output bus.
AUIOElement& ExternallyBuffered(AUBase& inUnit, At inAt) {
    if (inAt.scope == kAudioUnitScope_Input) {
        return inUnit.GetInput(inAt.element);
    }
    return inUnit.GetOutput(inAt.element);
}

OSStatus ExternalBufferInfo(AUBase& inUnit, At inAt, PropertyInfo&) {
    ExternallyBuffered(inUnit, inAt);
    return noErr;
}

/// The bus works in the host's memory from here on.
OSStatus WriteExternalBuffer(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    const auto block = TakeValue<AudioUnitExternalBuffer>(inData, inSize);
    if (!inUnit.IsInitialized()) {
        return kAudioUnitErr_Uninitialized;
    }
    if (reinterpret_cast<uintptr_t>(block.buffer) % kExternalBufferAlignment != 0) {
        return paramErr;
    }
    ExternallyBuffered(inUnit, inAt).UseExternalBuffer(block);
    return noErr;
}

OSStatus LayoutInfo(AUBase& inUnit, At inAt, PropertyInfo& ioInfo) {
    RequireElement(inUnit, inAt);
    Boolean writable = 0;
    ioInfo.size = inUnit.GetAudioChannelLayout(inAt.scope, inAt.element, nullptr, writable);
    ioInfo.writable = writable != 0;
    return OfferedIf(ioInfo.size != 0);
}

OSStatus ReadLayout(AUBase& inUnit, At inAt, void* outData) {
    Boolean writable = 0;
    inUnit.GetAudioChannelLayout(inAt.scope, inAt.element,
                                 static_cast<AudioChannelLayout*>(outData), writable);
    return noErr;
}

UInt64 LayoutSize(const void* inData) {
    const auto count = LoadValue<UInt32>(static_cast<const UInt8*>(inData) +
                                         offsetof(AudioChannelLayout, mNumberChannelDescriptions));
    return kLayoutHeader + UInt64{count} * sizeof(AudioChannelDescription);
}

OSStatus WriteLayout(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    RequireElement(inUnit, inAt);
    if (inSize < kLayoutHeader || inSize < LayoutSize(inData)) {
        return kAudioUnitErr_InvalidPropertyValue;
    }
    const auto bytes = static_cast<std::size_t>(LayoutSize(inData));
    std::vector<UInt32> aligned(bytes / sizeof(UInt32)); // every field has four bytes
    std::memcpy(aligned.data(), inData, bytes);
    const OSStatus status = inUnit.SetAudioChannelLayout(
        inAt.scope, inAt.element, reinterpret_cast<const AudioChannelLayout*>(aligned.data()));
    if (status == noErr) {
        inUnit.PropertyChanged(inAt.id, inAt.scope, inAt.element);
    }
    return status;
}

OSStatus RemoveLayout(AUBase& inUnit, At inAt) {
    RequireElement(inUnit, inAt);
    const OSStatus status = inUnit.RemoveAudioChannelLayout(inAt.scope, inAt.element);
    if (status == noErr) {
        inUnit.PropertyChanged(inAt.id, inAt.scope, inAt.element);
    }
    return status;
}

OSStatus LayoutTagsInfo(AUBase& inUnit, At inAt, PropertyInfo& ioInfo) {
    RequireElement(inUnit, inAt);
    ioInfo.size = inUnit.GetChannelLayoutTags(inAt.scope, inAt.element, nullptr) *
                  static_cast<UInt32>(sizeof(AudioChannelLayoutTag));
    return OfferedIf(ioInfo.size != 0);
}

OSStatus ReadLayoutTags(AUBase& inUnit, At inAt, void* outData) {
    inUnit.GetChannelLayoutTags(inAt.scope, inAt.element,
                                static_cast<AudioChannelLayoutTag*>(outData));
    return noErr;
}

OSStatus InputCallbackInfo(AUBase& inUnit, At inAt, PropertyInfo& ioInfo) {
    inUnit.GetInput(inAt.element);
    ioInfo.writable = inUnit.GetInterfaceVersion() >= kInterfaceVersion2;
    return noErr;
}

OSStatus WriteInputCallback(AUBase& inUnit, At inAt, const void* inData, UInt32 inSize) {
    const auto callback = TakeValue<AURenderCallbackStruct>(inData, inSize);
    if (inUnit.GetInterfaceVersion() < kInterfaceVersion2) {
        return kAudioUnitErr_PropertyNotWritable;
    }
    return inUnit.SetInputCallback(inAt.id, inAt.element, callback.inputProc,
                                   callback.inputProcRefCon);
}

constexpr PropertyRow kRows[] = {
    {.id = kAudioUnitProperty_MakeConnection,
     .scope = PropertyScope::kGlobalOrInput,
     .size = sizeof(AudioUnitConnection),
     .writable = kWritable,
     .write = WriteConnection},
    {.id = kAudioUnitProperty_SampleRate,
     .scope = PropertyScope::kAny,
     .size = sizeof(Float64),
     .writable = kReadOnly,
     .info = FormatInfo,
     .read = ReadSampleRate,
     .write = WriteSampleRate},
    {.id = kAudioUnitProperty_StreamFormat,
     .scope = PropertyScope::kAny,
     .size = sizeof(AudioStreamBasicDescription),
     .writable = kReadOnly,
     .info = FormatInfo,
     .read = ReadFormat,
     .write = WriteFormat},
    {.id = kAudioUnitProperty_SupportedNumChannels,
     .scope = PropertyScope::kGlobal,
     .size = kVariableSize,
     .writable = kReadOnly,
     .info = ChannelCountsInfo,
     .read = ReadChannelCounts},
    {.id = kAudioUnitProperty_SetExternalBuffer,
     .scope = PropertyScope::kAny,
     .size = sizeof(AudioUnitExternalBuffer),
     .writable = kWritable,
     .info = ExternalBufferInfo,
     .write = WriteExternalBuffer},
    {.id = kAudioUnitProperty_AudioChannelLayout,
     .scope = PropertyScope::kAny,
     .size = kVariableSize,
     .writable = kReadOnly,
     .info = LayoutInfo,
     .read = ReadLayout,
     .write = WriteLayout,
     .remove = RemoveLayout},
    {.id = kAudioUnitProperty_SetRenderCallback,
     .scope = PropertyScope::kGlobalOrInput,
     .size = sizeof(AURenderCallbackStruct),
     .writable = kWritable,
     .info = InputCallbackInfo,
     .write = WriteInputCallback},
    {.id = kAudioUnitProperty_SupportedChannelLayoutTags,
     .scope = PropertyScope::kAny,
     .size = kVariableSize,
     .writable = kReadOnly,
     .info = LayoutTagsInfo,
     .read = ReadLayoutTags},
};

} // namespace

std::span<const PropertyRow> BusProperties() {
    return kRows;
}

} // namespace velnor
