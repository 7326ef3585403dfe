// Parameter blocks of every selector, in any order and with any values that a block may hold,
// against an open instrument and its view: no crash, only known statuses, and nothing left behind.
#include "fuzz/ComponentCaller.h"
#include "fuzz/FuzzHost.h"
#include "fuzz/HostMemory.h"
#include "fuzz/PropertyValues.h"
#include "fuzz/ViewSession.h"
#include "platform/CarbonView.h"
#include "platform/EventLoop.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <optional>

namespace velnor::fuzz {
namespace {

constexpr int kMostCalls = 64;

class Session {
public:
    Session(FuzzedDataProvider& input, const Variant& variant)
        : mInput(input), mVariant(variant), mUnit(FuzzHost::Shared().Open(variant, Engine(input))),
          mCaller(input, kInstrument, FuzzHost::Shared().InstrumentEntry(variant), mUnit),
          mMemory(input), mValues(input, mMemory, mUnit) {}
    ~Session() {
        mView.reset();
        mCaller.Close();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void Run() {
        constexpr void (Session::* kCalls[])() = {
            &Session::Simple,        &Session::Odd,          &Session::View,
            &Session::View,          &Session::GetProperty,  &Session::SetProperty,
            &Session::SetProperty,   &Session::GetParameter, &Session::SetParameter,
            &Session::Listener,      &Session::Notification, &Session::Schedule,
            &Session::Midi,          &Session::SysEx,        &Session::StartNote,
            &Session::OtherNotes,    &Session::Render,       &Session::Render,
            &Session::FastParameter, &Session::FastMidi};
        if (mInput.ConsumeBool()) {
            Send(kAudioUnitInitializeSelect);
        }
        for (int i = 0; i < kMostCalls && mInput.remaining_bytes() > 0; ++i) {
            (this->*mInput.PickValueInArray(kCalls))();
        }
        CheckEngineCalls();
    }

private:
    static probe::Behaviour Engine(FuzzedDataProvider& input) {
        probe::Behaviour behaviour;
        behaviour.version = OneIn(input, 4) ? "1025" : "1026";
        behaviour.leaveHandleZero = OneIn(input, 16);
        behaviour.chunkResult = OneIn(input, 4) ? -1 : 0;
        behaviour.chunkSize.reset();
        if (OneIn(input, 4)) {
            behaviour.chunkSize = OneIn(input, 2) ? 0 : -1;
        }
        behaviour.vendorResult = OneIn(input, 4) ? 7 : 0;
        behaviour.answerVendor = OneIn(input, 2);
        return behaviour;
    }

    // Every block of events came in order, and no larger than it may be.
    static void CheckEngineCalls() {
        for (const probe::Call& call : testing::callsOf(kOpProcess)) {
            std::vector<MIDIEvent> events((call.bytes[0].size() - sizeof(UInt32)) /
                                          sizeof(MIDIEvent));
            if (events.empty()) {
                continue;
            }
            std::memcpy(events.data(), call.bytes[0].data() + sizeof(UInt32),
                        events.size() * sizeof(MIDIEvent));
            FUZZ_CHECK(events.size() <= kOrmoMaxBlockEvents);
            FUZZ_CHECK(
                std::is_sorted(events.begin(), events.end(),
                               [](const auto& a, const auto& b) { return a.offset < b.offset; }));
        }
    }

    template <typename... Args>
    ComponentResult Send(SInt16 selector, Args... arguments) {
        return mCaller.Send(selector, arguments...);
    }

    void Simple() {
        switch (mInput.ConsumeIntegralInRange<int>(0, 31)) {
        case 0:
            Send(kComponentOpenSelect, ComponentInstance{nullptr});
            return;
        case 1:
            mView.reset();
            Send(kComponentCloseSelect, mUnit);
            return;
        case 2:
        case 3:
            Send(kAudioUnitUninitializeSelect);
            return;
        case 4:
        case 5:
            Send(kAudioUnitResetSelect, Number(mInput, 5), Number(mInput, 5));
            return;
        default:
            Send(kAudioUnitInitializeSelect);
        }
    }

    void Odd() {
        switch (mInput.ConsumeIntegralInRange<int>(0, 3)) {
        case 0:
            mCaller.SendToNobody();
            return;
        case 1:
            mCaller.Ask();
            return;
        default:
            mCaller.SendNulls();
        }
    }

    void View() {
        if (!mView) {
            mView.emplace(mInput, mMemory, mVariant, mUnit);
        }
        mView->Call();
    }

    void GetProperty() {
        const PropertyAddress at = mValues.Address();
        auto* const infoSize = mMemory.ValueOrNull<UInt32>();
        const bool hasInfo = Send(kAudioUnitGetPropertyInfoSelect, at.id, at.scope, at.element,
                                  infoSize, mMemory.ValueOrNull<Boolean>()) == noErr;
        UInt32 room = Number(mInput, 64);
        if (hasInfo && infoSize != nullptr && mInput.ConsumeBool()) {
            room = *infoSize;
        }
        room = std::min(room, kMostPropertyBytes);
        void* const data = !OneIn(mInput, 8) ? mMemory.Block(room, mInput.ConsumeBool()) : nullptr;
        auto* const size = mMemory.ValueOrNull(room);
        const ComponentResult status =
            Send(kAudioUnitGetPropertySelect, at.id, at.scope, at.element, data, size);
        if (status != noErr || data == nullptr || size == nullptr) {
            return;
        }
        FUZZ_CHECK(*size <= room);
        mValues.ReleaseObject(at.id, data, room);
    }

    void SetProperty() {
        const PropertyAddress at = mValues.Address();
        std::vector<UInt8> value = mValues.Value(at.id);
        if (OneIn(mInput, 16)) {
            value.resize(mInput.ConsumeIntegralInRange<std::size_t>(0, value.size() + 16));
        }
        // Half a pointer, which is kept as it is, leads nowhere.
        if (at.id == kAudioUnitProperty_HostCallbacks) {
            value.resize(value.size() / sizeof(void*) * sizeof(void*));
        }
        UInt8* data = mMemory.Block(value.size(), mInput.ConsumeBool());
        std::copy(value.begin(), value.end(), data);
        if (OneIn(mInput, 16)) {
            data = nullptr;
        }
        auto size = static_cast<UInt32>(value.size());
        if (data == nullptr && mInput.ConsumeBool()) {
            size = 0;
        }
        Send(kAudioUnitSetPropertySelect, at.id, at.scope, at.element, static_cast<void*>(data),
             size);
    }

    Float32 AnyFloat() { return std::bit_cast<Float32>(mInput.ConsumeIntegral<UInt32>()); }

    void GetParameter() {
        Send(kAudioUnitGetParameterSelect, Number(mInput, 3), Number(mInput, 5), Number(mInput, 3),
             mMemory.ValueOrNull<Float32>());
    }
    void SetParameter() {
        Send(kAudioUnitSetParameterSelect, Number(mInput, 3), Number(mInput, 5), Number(mInput, 3),
             AnyFloat(), Number(mInput, 64));
    }

    void Listener() {
        const AudioUnitPropertyID id = mValues.Address().id;
        const auto proc = mValues.Listener();
        if (mInput.ConsumeBool()) {
            Send(kAudioUnitAddPropertyListenerSelect, id, proc, mValues.UserData());
        } else {
            Send(kAudioUnitRemovePropertyListenerSelect, id, proc);
        }
    }

    void Notification() {
        Send(mInput.ConsumeBool() ? SInt16{kAudioUnitAddRenderNotifySelect}
                                  : SInt16{kAudioUnitRemoveRenderNotifySelect},
             mValues.RenderCallback(), mValues.UserData());
    }

    void Schedule() {
        const UInt32 count = mInput.ConsumeIntegralInRange(0U, 40U);
        auto* const events = reinterpret_cast<AudioUnitParameterEvent*>(
            mMemory.Block(count * sizeof(AudioUnitParameterEvent)));
        for (UInt32 i = 0; i < count; ++i) {
            events[i].scope = Number(mInput, 5);
            events[i].element = Number(mInput, 3);
            events[i].parameter = Number(mInput, 3);
            events[i].eventType = Number(mInput, 3);
            events[i].eventValues.ramp = {static_cast<SInt32>(Number(mInput, 512)),
                                          Number(mInput, 512), AnyFloat(), AnyFloat()};
        }
        const bool isNull = OneIn(mInput, 16);
        Send(kAudioUnitScheduleParametersSelect, isNull ? nullptr : events, count);
    }

    void Midi() {
        const UInt32 status = Number(mInput, 255);
        const UInt32 data1 = Number(mInput, 127);
        const UInt32 offset = Number(mInput, 2048);
        Send(kMusicDeviceMIDIEventSelect, status, data1, Number(mInput, 127), offset);
        if (!OneIn(mInput, 16)) {
            return;
        }
        // A burst; the longest fills the queue.
        for (UInt32 i = mInput.ConsumeIntegralInRange(0U, 1100U); i > 0; --i) {
            Known(MusicDeviceMIDIEvent(mUnit, status, data1, 0, i * offset % 2048));
        }
    }

    void SysEx() {
        const UInt32 size = mInput.ConsumeIntegralInRange(0U, 16U);
        Send(kMusicDeviceSysExSelect, static_cast<const UInt8*>(mMemory.Block(size)), size);
        Send(kMusicDeviceSysExSelect, static_cast<const UInt8*>(nullptr), Number(mInput, 16));
    }

    void StartNote() {
        MusicDeviceNoteParams* params = nullptr;
        if (!OneIn(mInput, 8)) {
            const UInt32 controls = mInput.ConsumeIntegralInRange(0U, 4U);
            constexpr std::size_t kHead = offsetof(MusicDeviceNoteParams, mControls);
            params = reinterpret_cast<MusicDeviceNoteParams*>(
                mMemory.Block(kHead + controls * sizeof(NoteParamsControlValue)));
            params->argCount = 2 + controls;
            params->mPitch = AnyFloat();
            params->mVelocity = mInput.ConsumeBool() ? 0 : AnyFloat();
        }
        Send(kMusicDeviceStartNoteSelect, Number(mInput, 3), Number(mInput, 16),
             mMemory.ValueOrNull<NoteInstanceID>(), Number(mInput, 64),
             static_cast<const MusicDeviceNoteParams*>(params));
    }

    void OtherNotes() {
        Send(kMusicDeviceStopNoteSelect, Number(mInput, 16), Number(mInput, 127),
             Number(mInput, 64));
        Send(mInput.ConsumeBool() ? SInt16{kMusicDevicePrepareInstrumentSelect}
                                  : SInt16{kMusicDeviceReleaseInstrumentSelect},
             Number(mInput, 3));
    }

    void Render() {
        AudioTimeStamp time = {};
        time.mSampleTime = mInput.ConsumeBool() ? mSampleTime : Real(mInput);
        time.mFlags = mInput.ConsumeIntegral<UInt8>();
        const UInt32 frames = Number(mInput, 2048);
        mSampleTime += mInput.ConsumeBool() ? frames : 0;
        const UInt32 bus = Number(mInput, 3);
        const UInt32 channels = mInput.ConsumeBool() ? 2 : mInput.ConsumeIntegralInRange(0U, 40U);
        AudioBufferList* const list = mMemory.BufferList(channels, frames);
        std::vector<AudioBuffer> before(list->mBuffers, list->mBuffers + channels);
        auto* const flags = mMemory.ValueOrNull<AudioUnitRenderActionFlags>(Number(mInput, 255));
        const auto* const stamp = mMemory.ValueOrNull(time);
        AudioBufferList* const data = OneIn(mInput, 8) ? nullptr : list;
        const ComponentResult status =
            mInput.ConsumeBool() ? FastRender(flags, stamp, bus, frames, data)
                                 : Send(kAudioUnitRenderSelect, flags, stamp, bus, frames, data);
        if (status == noErr) {
            CheckRendered(*list, before, frames);
        }
    }

    // What the host reads is there.
    void CheckRendered(const AudioBufferList& list, const std::vector<AudioBuffer>& before,
                       UInt32 frames) {
        FUZZ_CHECK(list.mNumberBuffers == before.size());
        // Where its first buffer has no memory, the host gets a list of ours.
        const bool isOurs = before.empty() || before[0].mData == nullptr;
        for (UInt32 i = 0; i < list.mNumberBuffers; ++i) {
            const AudioBuffer& buffer = list.mBuffers[i];
            const AudioBuffer& passed = before[i];
            FUZZ_CHECK(isOurs || buffer.mData == passed.mData);
            FUZZ_CHECK(isOurs || // a size that is too low is mended
                       buffer.mDataByteSize <= std::max(passed.mDataByteSize, frames * 4));
            const auto* const samples = static_cast<const volatile UInt8*>(buffer.mData);
            if (frames > 0 && buffer.mDataByteSize > 0) {
                mSink = samples[0] + samples[buffer.mDataByteSize - 1];
            }
        }
    }

    template <typename Proc>
    Proc FastEntry(AudioUnitElement selector) {
        Proc proc = nullptr;
        UInt32 size = sizeof proc;
        AudioUnitGetProperty(mUnit, kAudioUnitProperty_FastDispatch, kAudioUnitScope_Global,
                             selector, &proc, &size);
        FUZZ_CHECK(mCaller.IsGone() || proc != nullptr);
        return proc;
    }

    OSStatus FastRender(AudioUnitRenderActionFlags* flags, const AudioTimeStamp* stamp, UInt32 bus,
                        UInt32 frames, AudioBufferList* data) {
        const auto proc = FastEntry<AudioUnitRenderProc>(kAudioUnitRenderSelect);
        return proc == nullptr ? OSStatus{paramErr}
                               : Known(proc(GetComponentInstanceStorage(mUnit), flags, stamp, bus,
                                            frames, data));
    }

    void FastParameter() {
        void* const storage = GetComponentInstanceStorage(mUnit);
        const UInt32 id = Number(mInput, 3);
        const UInt32 scope = Number(mInput, 5);
        const UInt32 element = Number(mInput, 3);
        const auto set = FastEntry<AudioUnitSetParameterProc>(kAudioUnitSetParameterSelect);
        const auto get = FastEntry<AudioUnitGetParameterProc>(kAudioUnitGetParameterSelect);
        if (set == nullptr || get == nullptr) {
            return;
        }
        const Float32 value = AnyFloat();
        Float32 back = 0;
        if (Known(set(storage, id, scope, element, value, Number(mInput, 64))) == noErr) {
            FUZZ_CHECK(get(storage, id, scope, element, &back) == noErr);
            FUZZ_CHECK(std::bit_cast<UInt32>(back) == std::bit_cast<UInt32>(value));
        }
        FUZZ_CHECK(get(storage, id, scope, element, nullptr) == paramErr);
    }

    void FastMidi() {
        const auto proc = FastEntry<MusicDeviceMIDIEventProc>(kMusicDeviceMIDIEventSelect);
        if (proc != nullptr) {
            Known(proc(GetComponentInstanceStorage(mUnit), Number(mInput, 255), Number(mInput, 127),
                       Number(mInput, 127), Number(mInput, 2048)));
        }
    }

    FuzzedDataProvider& mInput;
    const Variant mVariant;
    const AudioUnit mUnit;
    ComponentCaller mCaller;
    HostMemory mMemory;
    PropertyValues mValues;
    Float64 mSampleTime = 0;
    std::optional<ViewSession> mView;
    volatile int mSink = 0;
};

} // namespace
} // namespace velnor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace velnor;
    FuzzedDataProvider input(data, size);
    const fuzz::Variant variant = {input.ConsumeBool(), input.ConsumeBool()};
    fuzz::Session(input, variant).Run();
    fuzz::FuzzHost::Shared().CheckNothingIsLeft();
    return 0;
}
