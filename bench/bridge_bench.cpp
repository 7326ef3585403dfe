// The bridge's costs, each measured against its yardstick in the same run.
#include "bench/Measure.h"
#include "bench/ReadAndParse.h"
#include "bridge/EventSorter.h"
#include "bridge/MidiRing.h"
#include "testing/TestHost.h"

#include <algorithm>
#include <atomic>
#include <boost/lockfree/spsc_queue.hpp>
#include <cstring>
#include <dlfcn.h>
#include <random>
#include <thread>

namespace {

using namespace velnor::bench;
using velnor::EventSorter;
using velnor::MidiRing;
using velnor::testing::builtBundle;
using velnor::testing::executableOf;
using velnor::testing::freshProbe;
using velnor::testing::Instrument;
using velnor::testing::TestHost;

using PeerQueue =
    boost::lockfree::spsc_queue<MIDIEvent, boost::lockfree::capacity<MidiRing::kCapacity>>;

MIDIEvent eventAt(std::int32_t offset) {
    MIDIEvent event = {};
    event.data[0] = 0x90;
    event.offset = offset;
    return event;
}

// Queue so many messages, then take them all.
void RingBurst(benchmark::State& state) {
    const auto count = static_cast<std::int32_t>(state.range(0));
    const auto ring = std::make_unique<MidiRing>();
    const auto peer = std::make_unique<PeerQueue>();
    std::vector<MIDIEvent> out(MidiRing::kSlots);
    Best ours, theirs;
    for ([[maybe_unused]] auto unused : state) {
        ours.add(nanoseconds([&] {
            for (std::int32_t i = 0; i < count; ++i) {
                ring->push(0x90, 1, 2, i);
            }
            MIDIEvent* to = out.data();
            ring->take([&to](const MIDIEvent& event) { *to++ = event; });
        }));
        theirs.add(nanoseconds([&] {
            for (std::int32_t i = 0; i < count; ++i) {
                peer->push(eventAt(i));
            }
            peer->pop(out.data(), out.size());
        }));
    }
    report(state, ours, theirs, count);
}
BENCHMARK(RingBurst)->Arg(64)->Arg(1023)->Iterations(rounds(5000));

// From the moment on which both threads stand ready.
template <typename Push, typename TakeAll>
double throughTwoThreads(int count, Push push, TakeAll takeAll) {
    std::atomic<bool> ready = false, go = false;
    std::thread producer([&] {
        ready = true;
        while (!go) {
        }
        for (int i = 0; i < count; ++i) {
            while (!push(i)) {
            }
        }
    });
    while (!ready) {
    }
    const double time = nanoseconds([&] {
        go = true;
        for (int taken = 0; taken < count;) {
            taken += takeAll();
        }
    });
    producer.join();
    return time;
}

// One thread queues, another takes.
void RingTwoThreads(benchmark::State& state) {
    constexpr int kMessages = 10000;
    const auto ring = std::make_unique<MidiRing>();
    const auto peer = std::make_unique<PeerQueue>();
    std::int64_t sum = 0;
    Best ours, theirs;
    for ([[maybe_unused]] auto unused : state) {
        ours.add(throughTwoThreads(
            kMessages, [&](int i) { return ring->push(0x90, 1, 2, i); },
            [&] {
                int taken = 0;
                ring->take([&](const MIDIEvent& event) { sum += event.offset, ++taken; });
                return taken;
            }));
        theirs.add(throughTwoThreads(
            kMessages, [&](int i) { return peer->push(eventAt(i)); },
            [&] {
                return static_cast<int>(
                    peer->consume_all([&](const MIDIEvent& event) { sum += event.offset; }));
            }));
    }
    benchmark::DoNotOptimize(sum);
    report(state, ours, theirs, kMessages);
}
BENCHMARK(RingTwoThreads)->Iterations(rounds(40));

enum Disorder { kInOrder, kNearlyInOrder, kFewStrays, kReversed, kRandom };

std::vector<MIDIEvent> block(std::size_t count, int disorder) {
    std::mt19937 random(7);
    std::vector<std::int32_t> offsets(count);
    for (std::size_t i = 0; i < count; ++i) {
        offsets[i] =
            static_cast<std::int32_t>(disorder == kRandom ? random() % 512 : i * 512 / count);
    }
    if (disorder == kNearlyInOrder) {
        for (std::size_t swaps = 1 + count / 20; swaps > 0; --swaps) {
            const std::size_t at = random() % (count - 1);
            std::swap(offsets[at], offsets[at + 1]);
        }
    }
    if (disorder == kFewStrays) {
        for (std::size_t swaps = 1 + count / 100; swaps > 0; --swaps) {
            std::swap(offsets[random() % count], offsets[random() % count]);
        }
    }
    if (disorder == kReversed) {
        std::ranges::reverse(offsets);
    }
    std::vector<MIDIEvent> events;
    for (const std::int32_t offset : offsets) {
        events.push_back(eventAt(offset));
    }
    return events;
}

// Memory as in the instrument, where the sorter follows the block: how a processor copies depends
// on how source and destination lie to each other within a page.
struct Sorting {
    static constexpr std::size_t kCopies = 64;

    std::uint32_t count;
    std::array<MIDIEvent, kCopies * kOrmoMaxBlockEvents> copies;
    EventSorter sorter;
};

void Sort(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::vector<MIDIEvent> events = block(count, static_cast<int>(state.range(1)));
    const auto sorting = std::make_unique<Sorting>();
    MIDIEvent* const copies = sorting->copies.data();
    const auto timeToSort = [&](const auto& sort) {
        for (std::size_t i = 0; i < Sorting::kCopies; ++i) {
            std::copy(events.begin(), events.end(), copies + i * count);
        }
        benchmark::ClobberMemory();
        return nanoseconds([&] {
            for (std::size_t i = 0; i < Sorting::kCopies; ++i) {
                sort(copies + i * count);
            }
        });
    };
    Best ours, theirs;
    for ([[maybe_unused]] auto unused : state) {
        ours.add(timeToSort([&](MIDIEvent* first) { sorting->sorter.sort(first, count); }));
        theirs.add(timeToSort(
            [&](MIDIEvent* first) { std::stable_sort(first, first + count, velnor::midiSort); }));
    }
    report(state, ours, theirs, Sorting::kCopies);
}
BENCHMARK(Sort)
    ->ArgsProduct({{8, 64, 512, 1023}, {kInOrder, kNearlyInOrder, kFewStrays, kReversed, kRandom}})
    ->Iterations(rounds(100));

HostCallbackInfo hostCallbacks() {
    HostCallbackInfo info = {};
    info.beatAndTempoProc = [](void*, Float64* beat, Float64* tempo) -> OSStatus {
        *beat = 9.5;
        *tempo = 120;
        return noErr;
    };
    info.musicalTimeLocationProc = [](void*, UInt32* toNextBeat, Float32* numerator,
                                      UInt32* denominator, Float64* downBeat) -> OSStatus {
        *toNextBeat = 11025;
        *numerator = 4;
        *denominator = 4;
        *downBeat = 8;
        return noErr;
    };
    info.transportStateProc = [](void*, Boolean* playing, Boolean* changed, Float64* samplePos,
                                 Boolean* cycling, Float64* cycleStart,
                                 Float64* cycleEnd) -> OSStatus {
        *playing = 1;
        *changed = 0;
        *samplePos = 209475;
        *cycling = 0;
        *cycleStart = *cycleEnd = 0;
        return noErr;
    };
    return info;
}

// An open, initialised stereo instrument, and what a host needs to pull it.
struct Pulling {
    static constexpr UInt32 kFrames = 64;

    TestHost host;
    Instrument instrument;
    AudioUnitRenderProc fastRender = nullptr;
    void* storage = nullptr;
    OrmoOpcodeProc engine = nullptr;
    OrmoEngineHandle handle = 0;
    std::array<std::array<float, kFrames>, 2> samples{};
    std::array<float*, 32> channels{samples[0].data(), samples[1].data()};
    struct {
        UInt32 count = 2;
        AudioBuffer buffers[2];
    } list;
    AudioTimeStamp time = {};
    OrmoSyncInfo sync = {};
    std::unique_ptr<MIDIEventBlock> events = std::make_unique<MIDIEventBlock>();

    Pulling() {
        velnor::probe::Probe& probe = freshProbe();
        probe.recording = false;
        probe.behaviour.writePattern = false;
        instrument.setHostCallbacks(hostCallbacks());
        instrument.initialize();
        UInt32 size = sizeof fastRender;
        AudioUnitGetProperty(instrument.unit(), kAudioUnitProperty_FastDispatch,
                             kAudioUnitScope_Global, kAudioUnitRenderSelect, &fastRender, &size);
        storage = GetComponentInstanceStorage(instrument.unit());
        instrument.get(kPropertyEngineOpcode, engine);
        instrument.get(kPropertyEngineHandle, handle);
        for (std::size_t i = 0; i < 2; ++i) {
            list.buffers[i] = {1, sizeof samples[i], samples[i].data()};
        }
        time.mFlags = kAudioTimeStampSampleTimeValid;
    }
    void queue(int count) {
        for (int i = 0; i < count; ++i) {
            instrument.sendMidi(0x90, 60, 100, i * 64 / count);
        }
    }
    void pull() {
        AudioUnitRenderActionFlags flags = 0;
        time.mSampleTime += kFrames;
        fastRender(storage, &flags, &time, 0, kFrames, reinterpret_cast<AudioBufferList*>(&list));
    }
    void pullBySelector() {
        AudioUnitRenderActionFlags flags = 0;
        time.mSampleTime += kFrames;
        AudioUnitRender(instrument.unit(), &flags, &time, 0, kFrames,
                        reinterpret_cast<AudioBufferList*>(&list));
    }
    void callDirectly() {
        engine(static_cast<OrmoWord>(handle), kOpProcess, reinterpret_cast<OrmoWord>(events.get()),
               reinterpret_cast<OrmoWord>(&channels), reinterpret_cast<OrmoWord>(&sync), kFrames, 0,
               0, 0);
    }
};

// One empty block with three host callbacks, against the engine called directly; and what each
// event of a loaded block adds, against one copy of it.
void Pull(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    constexpr int kTimes = 200;
    Pulling pulling;
    const auto timeOf = [](const auto& call) {
        return nanoseconds([&] {
            for (int i = 0; i < kTimes; ++i) {
                call();
                benchmark::ClobberMemory();
            }
        });
    };
    Best fast, bySelector, direct, loaded, clock;
    for ([[maybe_unused]] auto unused : state) {
        fast.add(timeOf([&] { pulling.pull(); }));
        bySelector.add(timeOf([&] { pulling.pullBySelector(); }));
        direct.add(timeOf([&] { pulling.callDirectly(); }));
        pulling.queue(count);
        loaded.add(nanoseconds([&] { pulling.pull(); }));
        clock.add(nanoseconds([] {}));
    }
    const double pull = fast.time() / kTimes;
    const double call = direct.time() / kTimes;
    state.counters["fast_ns"] = pull;
    state.counters["fast_above_ns"] = pull - call;
    state.counters["selector_ns"] = bySelector.time() / kTimes;
    state.counters["selector_above_ns"] = bySelector.time() / kTimes - call;
    state.counters["direct_ns"] = call;
    state.counters["event_ns"] = (loaded.time() - clock.time() - pull) / count;
}
BENCHMARK(Pull)->Arg(8)->Arg(1023)->Iterations(rounds(2000));

std::string registryOf(int entries) {
    std::string dictionary;
    for (int i = 1; i <= entries; ++i) {
        const std::string path = i == entries ? builtBundle("Velnor.component")
                                              : "/elsewhere/" + std::to_string(i) + ".component";
        dictionary += "<key>" + std::to_string(1000 + i).substr(1) + "</key><dict><key>path</key>" +
                      "<string>" + path + "</string><key>version</key><string>1.0.3</string>" +
                      "</dict>";
    }
    return "<plist version=\"1.0\"><dict><key>base_dir</key><string>/data</string>"
           "<key>Plugins</key><dict><key>AU</key><dict>" +
           dictionary + "</dict></dict></dict></plist>";
}

// Opening the process's first instrument, with its log, among so many registered plug-ins; the code
// of plug-in and engine is loaded already.
void Open(benchmark::State& state) {
    TestHost host;
    const std::string registry =
        velnor::testing::WriteFile(host.home.ConfigHome() + "/velnor/com.Tavo.Tarn 12.plist",
                                   registryOf(static_cast<int>(state.range(0))));
    // The engine's code stays anyway, the plug-in's only while it is held.
    void* code = dlopen(executableOf(builtBundle("Velnor.component")).c_str(), RTLD_NOW);
    {
        Instrument warmUp;
    }
    freshProbe().recording = false;
    Component component = nullptr;
    UInt32 count = 0;
    PlatformRegisterComponentBundle(builtBundle("Velnor.component").c_str(), &component, 1, &count);
    Best open, parse;
    for ([[maybe_unused]] auto unused : state) {
        AudioUnit unit = nullptr;
        open.add(nanoseconds([&] { PlatformOpenComponent(component, &unit); }));
        CloseComponent(unit);
        parse.add(nanoseconds([&] { readAndParse(registry); }));
    }
    report(state, open, parse, 1);
    dlclose(code);
}
BENCHMARK(Open)->Arg(1)->Arg(100)->Iterations(rounds(200));

} // namespace

BENCHMARK_MAIN();
