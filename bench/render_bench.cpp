// One pull of each bus at a new sample time, through the host's call and through the fast entry,
// with an instrument that only touches its buffers; against a virtual call that touches the same
// buffers.
#include "bench/Measure.h"
#include "framework/ComponentEntryPoint.h"
#include "framework/MusicDeviceBase.h"
#include "platform/AudioUnit.h"
#include "testing/HostBuffers.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace velnor;
using namespace velnor::testing;

constexpr UInt32 kFrames = 64;
constexpr UInt32 kMostBuses = 16;
constexpr OSType kSubType = VELNOR_FOUR_CHAR_CODE('i', 'd', 'l', 'e');

void Touch(AudioBufferList& ioList) VELNOR_NONBLOCKING {
    AudioBuffer* const buffers = ioList.mBuffers;
    for (UInt32 i = 0; i < ioList.mNumberBuffers; ++i) {
        *static_cast<Float32*>(buffers[i].mData) = 1;
    }
}

UInt32 gBuses = 1;

class IdleInstrument : public MusicDeviceBase {
public:
    explicit IdleInstrument(ComponentInstance inInstance)
        : MusicDeviceBase(inInstance, 0, gBuses), mBuses(gBuses) {}
    void PostConstructor() override { CreateElements(); }
    bool StreamFormatWritable(AudioUnitScope, AudioUnitElement) override { return true; }
    OSStatus Render(AudioUnitRenderActionFlags&, const AudioTimeStamp&,
                    UInt32) VELNOR_NONBLOCKING override {
        for (UInt32 bus = 0; bus < mBuses; ++bus) {
            Touch(GetOutput(bus).GetBufferList());
        }
        return noErr;
    }

private:
    const UInt32 mBuses;
};

class Toucher {
public:
    virtual ~Toucher() = default;
    virtual void Render(std::vector<HostBuffers>& ioBuses) {
        for (HostBuffers& bus : ioBuses) {
            Touch(*bus.Get());
        }
    }
};

void Require(OSStatus inStatus) {
    if (inStatus != noErr) {
        throw std::runtime_error("status " + std::to_string(inStatus));
    }
}

/// An open instrument and the host's buffers for it.
class Setup {
public:
    Setup(UInt32 inChannels, UInt32 inBuses) {
        static const ComponentDescription description = {kAudioUnitType_MusicDevice, kSubType,
                                                         kSubType, 0, 0};
        static const Component registration = PlatformRegisterComponentEntry(
            &description, ComponentEntryPoint<IdleInstrument>::Dispatch, "Idle", 1);
        gBuses = inBuses;
        Require(PlatformOpenComponent(registration, &mUnit));
        AudioStreamBasicDescription format = DefaultStreamFormat(kInterfaceVersion2);
        format.mChannelsPerFrame = inChannels;
        for (UInt32 bus = 0; bus < inBuses; ++bus) {
            Require(AudioUnitSetProperty(mUnit, kAudioUnitProperty_StreamFormat,
                                         kAudioUnitScope_Output, bus, &format, sizeof format));
            mBuffers.emplace_back(inChannels, kFrames);
        }
        Require(AudioUnitInitialize(mUnit));
        UInt32 size = sizeof mFastRender;
        Require(AudioUnitGetProperty(mUnit, kAudioUnitProperty_FastDispatch, kAudioUnitScope_Global,
                                     kAudioUnitRenderSelect, &mFastRender, &size));
        mStorage = GetComponentInstanceStorage(mUnit);
    }
    ~Setup() { CloseComponent(mUnit); }
    Setup(const Setup&) = delete;
    Setup& operator=(const Setup&) = delete;

    void PullThroughSelector() {
        PullEach([this](auto... arguments) { return AudioUnitRender(mUnit, arguments...); });
    }
    void PullThroughFastEntry() {
        PullEach([this](auto... arguments) { return mFastRender(mStorage, arguments...); });
    }
    void CallDirectly() { mToucher->Render(mBuffers); }

private:
    template <class Call>
    void PullEach(const Call& inCall) {
        const AudioTimeStamp time = AtSample(mTime);
        mTime += kFrames;
        for (UInt32 bus = 0; bus < mBuffers.size(); ++bus) {
            AudioUnitRenderActionFlags flags = 0;
            Require(inCall(&flags, &time, bus, kFrames, mBuffers[bus].Get()));
        }
    }

    AudioUnit mUnit = nullptr;
    AudioUnitRenderProc mFastRender = nullptr;
    void* mStorage = nullptr;
    Float64 mTime = 0;
    std::vector<HostBuffers> mBuffers;
    std::unique_ptr<Toucher> mToucher = std::make_unique<Toucher>();
};

void Pull(benchmark::State& ioState) {
    constexpr int kTimes = 50;
    Setup setup(static_cast<UInt32>(ioState.range(0)), static_cast<UInt32>(ioState.range(1)));
    const auto timeOf = [&setup](void (Setup::*inWay)()) {
        return bench::nanoseconds([&] {
            for (int i = 0; i < kTimes; ++i) {
                (setup.*inWay)();
                benchmark::ClobberMemory();
            }
        });
    };
    bench::Best direct, fast, bySelector;
    for ([[maybe_unused]] auto unused : ioState) {
        direct.add(timeOf(&Setup::CallDirectly));
        fast.add(timeOf(&Setup::PullThroughFastEntry));
        bySelector.add(timeOf(&Setup::PullThroughSelector));
    }
    ioState.counters["direct_ns"] = direct.time() / kTimes;
    ioState.counters["fast_ns"] = fast.time() / kTimes;
    ioState.counters["selector_ns"] = bySelector.time() / kTimes;
}
BENCHMARK(Pull)->ArgsProduct({{2, 32}, {1, kMostBuses}})->Iterations(bench::rounds(500));

} // namespace

BENCHMARK_MAIN();
