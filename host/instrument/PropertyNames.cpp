#include "host/instrument/PropertyNames.h"

#include "bridge/OrmoEngine.h"

namespace velnor::host {

std::span<const PropertyName> knownProperties() {
    static constexpr PropertyName kNames[] = {
        {kAudioUnitProperty_ClassInfo, "class info"},
        {kAudioUnitProperty_MakeConnection, "make connection"},
        {kAudioUnitProperty_SampleRate, "sample rate"},
        {kAudioUnitProperty_ParameterList, "parameter list"},
        {kAudioUnitProperty_ParameterInfo, "parameter info"},
        {kAudioUnitProperty_FastDispatch, "fast dispatch"},
        {kAudioUnitProperty_CPULoad, "CPU load"},
        {kAudioUnitProperty_StreamFormat, "stream format"},
        {kAudioUnitProperty_ElementCount, "element count"},
        {kAudioUnitProperty_Latency, "latency"},
        {kAudioUnitProperty_SupportedNumChannels, "supported channel counts"},
        {kAudioUnitProperty_MaximumFramesPerSlice, "maximum frames per slice"},
        {kAudioUnitProperty_SetExternalBuffer, "external buffer"},
        {kAudioUnitProperty_ParameterValueStrings, "parameter value strings"},
        {kAudioUnitProperty_GetUIComponentList, "editor component list"},
        {kAudioUnitProperty_AudioChannelLayout, "channel layout"},
        {kAudioUnitProperty_TailTime, "tail time"},
        {kAudioUnitProperty_LastRenderError, "last render error"},
        {kAudioUnitProperty_SetRenderCallback, "render callback"},
        {kAudioUnitProperty_FactoryPresets, "factory presets"},
        {kAudioUnitProperty_ContextName, "context name"},
        {kAudioUnitProperty_RenderQuality, "render quality"},
        {kAudioUnitProperty_HostCallbacks, "host callbacks"},
        {kAudioUnitProperty_CurrentPreset, "current preset"},
        {kAudioUnitProperty_ElementName, "element name"},
        {kAudioUnitProperty_SupportedChannelLayoutTags, "supported channel layout tags"},
        {kAudioUnitProperty_PresentPreset, "present preset"},
        {kAudioUnitProperty_OfflineRender, "offline render"},
        {kAudioUnitProperty_IconLocation, "icon location"},
        {kMusicDeviceProperty_InstrumentCount, "instrument count"},
        {kPropertyEngineOpcode, "engine entry point"},
        {kPropertySetupPath, "engine setup path"},
        {kPropertyEngineHandle, "engine handle"},
        {kVendorPropertyFirst, "engine's own properties, from here on"},
    };
    return kNames;
}

} // namespace velnor::host
