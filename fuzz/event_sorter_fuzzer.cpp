// Blocks of events in every kind of disorder: sorted by offset, those of one offset in the order of
// their arrival.
#include "bridge/EventSorter.h"
#include "fuzz/FuzzCheck.h"

#include <algorithm>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <vector>

namespace {

using namespace velnor;

using Events = std::vector<MIDIEvent>;

std::int32_t anyOffset(FuzzedDataProvider& input) {
    constexpr std::int32_t kEdges[] = {INT32_MIN, INT32_MAX, -1, 0};
    return input.ConsumeBool()   ? input.ConsumeIntegral<std::uint8_t>()
           : input.ConsumeBool() ? input.PickValueInArray(kEdges)
                                 : input.ConsumeIntegral<std::int32_t>();
}

// Runs of events at an offset that moves on by a step, and single events anywhere.
Events anyEvents(FuzzedDataProvider& input) {
    Events events;
    while (input.remaining_bytes() > 0 && events.size() < EventSorter::kMaxEvents) {
        std::uint32_t offset = static_cast<std::uint32_t>(anyOffset(input));
        const std::uint32_t step = static_cast<std::uint32_t>(input.ConsumeIntegral<std::int8_t>());
        const int count = input.ConsumeBool() ? input.ConsumeIntegral<std::uint8_t>() : 1;
        for (int i = 0; i < count && events.size() < EventSorter::kMaxEvents; ++i) {
            MIDIEvent event = {};
            event.offset = static_cast<std::int32_t>(offset);
            const std::size_t number = events.size();
            event.data[1] = static_cast<std::uint8_t>(number >> 8);
            event.data[2] = static_cast<std::uint8_t>(number);
            events.push_back(event);
            offset += step;
        }
    }
    return events;
}

// Every event's number tells when it came.
bool comesBefore(const MIDIEvent& a, const MIDIEvent& b) {
    const int first = a.data[1] << 8 | a.data[2];
    const int second = b.data[1] << 8 | b.data[2];
    return a.offset != b.offset ? a.offset < b.offset : first < second;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto sorter = std::make_unique<EventSorter>();
    FuzzedDataProvider input(data, size);
    Events events = anyEvents(input);
    Events expected = events;
    std::sort(expected.begin(), expected.end(), comesBefore);
    sorter->sort(events.data(), events.size());
    FUZZ_CHECK(std::equal(
        events.begin(), events.end(), expected.begin(), expected.end(),
        [](const MIDIEvent& a, const MIDIEvent& b) { return std::memcmp(&a, &b, sizeof a) == 0; }));
    return 0;
}
