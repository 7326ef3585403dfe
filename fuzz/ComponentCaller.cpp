#include "fuzz/ComponentCaller.h"

#include "platform/AudioUnitTypes.h"
#include "platform/CarbonView.h"

#include <algorithm>
#include <limits>

namespace velnor::fuzz {

namespace {

constexpr Selector kOfInstrument[] = {{kComponentOpenSelect, 1},
                                      {kComponentCloseSelect, 0},
                                      {kComponentCanDoSelect, 1},
                                      {kComponentVersionSelect, 0},
                                      {kAudioUnitInitializeSelect, 0},
                                      {kAudioUnitUninitializeSelect, 0},
                                      {kAudioUnitGetPropertyInfoSelect, 5},
                                      {kAudioUnitGetPropertySelect, 5},
                                      {kAudioUnitSetPropertySelect, 5},
                                      {kAudioUnitGetParameterSelect, 4},
                                      {kAudioUnitSetParameterSelect, 5},
                                      {kAudioUnitResetSelect, 2},
                                      {kAudioUnitAddPropertyListenerSelect, 3},
                                      {kAudioUnitRemovePropertyListenerSelect, 2},
                                      {kAudioUnitRenderSelect, 5},
                                      {kAudioUnitAddRenderNotifySelect, 2},
                                      {kAudioUnitRemoveRenderNotifySelect, 2},
                                      {kAudioUnitScheduleParametersSelect, 2},
                                      {kMusicDeviceMIDIEventSelect, 4, false},
                                      {kMusicDeviceSysExSelect, 2, false},
                                      {kMusicDevicePrepareInstrumentSelect, 1, false},
                                      {kMusicDeviceReleaseInstrumentSelect, 1, false},
                                      {kMusicDeviceStartNoteSelect, 5, false},
                                      {kMusicDeviceStopNoteSelect, 3, false}};
constexpr Selector kOfView[] = {{kComponentOpenSelect, 1},
                                {kComponentCloseSelect, 0},
                                {kComponentCanDoSelect, 1},
                                {kComponentVersionSelect, 0},
                                {kAudioUnitCarbonViewCreateSelect, 6}};

} // namespace

const ComponentTraits kInstrument = {kOfInstrument, 0x00010003};
const ComponentTraits kView = {kOfView, 1};

const Selector* ComponentTraits::Find(SInt16 what) const {
    const auto found = std::find_if(selectors.begin(), selectors.end(),
                                    [what](const Selector& each) { return each.what == what; });
    return found != selectors.end() ? &*found : nullptr;
}

ComponentResult Known(ComponentResult status) {
    constexpr ComponentResult kKnown[] = {noErr,
                                          1,
                                          -1,
                                          paramErr,
                                          memFullErr,
                                          kAudioUnitErr_InvalidProperty,
                                          kAudioUnitErr_InvalidParameter,
                                          kAudioUnitErr_InvalidElement,
                                          kAudioUnitErr_TooManyFramesToProcess,
                                          kAudioUnitErr_FormatNotSupported,
                                          kAudioUnitErr_Uninitialized,
                                          kAudioUnitErr_InvalidScope,
                                          kAudioUnitErr_PropertyNotWritable,
                                          kAudioUnitErr_InvalidPropertyValue,
                                          kAudioUnitErr_Initialized};
    FUZZ_CHECK(std::find(std::begin(kKnown), std::end(kKnown), status) != std::end(kKnown));
    return status;
}

void ComponentCaller::SendNulls() {
    const SInt16 what = AnySelector();
    const void* const null = nullptr;
    if (what != kComponentCloseSelect) {
        Send(what, null, null, null, null, null, null);
    }
}

void ComponentCaller::Ask() {
    const ComponentResult version = Send(kComponentVersionSelect);
    FUZZ_CHECK(version == mTraits.version || version == paramErr);
    const SInt16 what = AnySelector();
    const Selector* const selector = mTraits.Find(what);
    const ComponentResult answer = selector != nullptr && selector->canDo ? 1 : 0;
    const ComponentResult result = Send(kComponentCanDoSelect, what);
    FUZZ_CHECK(result == answer || result == paramErr);
    FUZZ_CHECK(GetComponentVersion(mInstance) == (IsGone() ? paramErr : mTraits.version));
    FUZZ_CHECK(ComponentFunctionImplemented(mInstance, what) == (IsGone() ? paramErr : answer));
}

void ComponentCaller::SendToNobody() {
    auto block = encode(AnySelector());
    FUZZ_CHECK(CallComponentDispatch(mInstance, nullptr) == paramErr);
    FUZZ_CHECK(CallComponentDispatch(nullptr, block.Get()) == badComponentInstance);
    FUZZ_CHECK(mEntry(nullptr, GetComponentInstanceStorage(mInstance)) == paramErr);
    FUZZ_CHECK(mEntry(block.Get(), nullptr) == paramErr);
}

void ComponentCaller::Close() {
    const ComponentResult expected = IsGone() ? paramErr : noErr;
    FUZZ_CHECK(CloseComponent(mInstance) == expected);
}

SInt16 ComponentCaller::AnySelector() {
    if (OneIn(mInput, 4)) {
        return mInput.ConsumeIntegral<SInt16>();
    }
    const std::size_t last = mTraits.selectors.size() - 1;
    return mTraits.selectors[mInput.ConsumeIntegralInRange<std::size_t>(0, last)].what;
}

// In a block of exactly the words that it holds.
ComponentResult ComponentCaller::SendWords(SInt16 what, std::span<const uintptr_t> words) {
    std::size_t count = words.size();
    if (OneIn(mInput, 16)) {
        count = mInput.ConsumeIntegralInRange<std::size_t>(0, count + 2);
    }
    std::size_t bytes = count * sizeof(uintptr_t);
    const auto memory = std::make_unique<uintptr_t[]>(1 + count);
    std::copy_n(words.data(), std::min(count, words.size()), memory.get() + 1);
    if (OneIn(mInput, 16)) {
        bytes = mInput.ConsumeIntegralInRange<std::size_t>(0, bytes);
    }
    auto* const block = reinterpret_cast<ComponentParameters*>(memory.get());
    block->flags = OneIn(mInput, 16) ? mInput.ConsumeIntegral<UInt8>() : 0;
    block->paramSize = static_cast<UInt8>(bytes);
    block->what = what;
    const bool wasGone = IsGone();
    const ComponentResult result = OneIn(mInput, 4)
                                       ? CallComponentDispatch(mInstance, block)
                                       : mEntry(block, GetComponentInstanceStorage(mInstance));
    if (wasGone && what != kComponentOpenSelect) {
        FUZZ_CHECK(result == paramErr);
    } else {
        Check(what, bytes, result);
    }
    return result;
}

void ComponentCaller::Check(SInt16 what, std::size_t bytes, ComponentResult result) const {
    const Selector* const selector = mTraits.Find(what);
    if (selector == nullptr) {
        FUZZ_CHECK(result == badComponentSelector);
    } else if (bytes < selector->words * sizeof(uintptr_t)) {
        FUZZ_CHECK(result == paramErr);
    } else if (what != kComponentVersionSelect) {
        Known(result);
    }
}

} // namespace velnor::fuzz
