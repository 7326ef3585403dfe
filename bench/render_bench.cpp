// One pull of each bus at a new sample time, through the host's call and through the fast entry,
// with an instrument that only touches its buffers; against a virtual call that touches the same
// buffers. "ratio" is the processor time as a multiple of the virtual call's.
#include "framework/ComponentEntryPoint.h"
#include "framework/MusicDeviceBase.h"
#include "framework/tests/HostBuffers.h"
#include "platform/AudioUnit.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace velnor;

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

using Way = void (Setup::*)();

/// Of this thread alone, so that a busy machine does not bend the ratio.
double CpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double TimeOfDirectCall(Setup& ioSetup) {
    constexpr int kCalls = 20000;
    double best = std::numeric_limits<double>::max();
    for (int attempt = 0; attempt < 5; ++attempt) {
        const double start = CpuSeconds();
        for (int call = 0; call < kCalls; ++call) {
            ioSetup.CallDirectly();
            benchmark::ClobberMemory();
        }
        best = std::min(best, (CpuSeconds() - start) / kCalls);
    }
    return best;
}

void Pull(benchmark::State& ioState, Way inWay) {
    const auto buses = static_cast<UInt32>(ioState.range(1));
    Setup setup(static_cast<UInt32>(ioState.range(0)), buses);
    const double direct = TimeOfDirectCall(setup);
    const double start = CpuSeconds();
    for (auto _ : ioState) {
        (setup.*inWay)();
        benchmark::ClobberMemory();
    }
    const double all = CpuSeconds() - start;
    ioState.SetItemsProcessed(ioState.iterations() * buses);
    ioState.counters["ratio"] = all / static_cast<double>(ioState.iterations()) / direct;
}

void Shapes(benchmark::internal::Benchmark* ioBenchmark) {
    ioBenchmark->ArgNames({"channels", "buses"});
    ioBenchmark->ArgsProduct({{2, 32}, {1, kMostBuses}});
}

BENCHMARK_CAPTURE(Pull, DirectCall, &Setup::CallDirectly)->Apply(Shapes);
BENCHMARK_CAPTURE(Pull, FastEntry, &Setup::PullThroughFastEntry)->Apply(Shapes);
BENCHMARK_CAPTURE(Pull, AudioUnitRender, &Setup::PullThroughSelector)->Apply(Shapes);

} // namespace

BENCHMARK_MAIN();
