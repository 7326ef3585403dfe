#include "host/song/TempoMap.h"

#include <algorithm>
#include <cmath>

namespace velnor::host {

namespace {

constexpr double kDefaultSecondsPerQuarter = 0.5;

// The last entry whose key is at or before the value; the first entry's key is 0.
template <typename Entry, typename Key>
const Entry& entryAt(const std::vector<Entry>& entries, Key Entry::* key, double value) {
    auto after = std::upper_bound(entries.begin() + 1, entries.end(), value,
                                  [key](double v, const Entry& entry) { return v < entry.*key; });
    return *(after - 1);
}

} // namespace

TempoMap::TempoMap(double ticksPerQuarter, double secondsPerTick)
    : mTicksPerQuarter(ticksPerQuarter), mTempoCounts(true), mTempos{{0.0, 0.0, secondsPerTick}},
      mMeters{{0.0, 4.0, 4, 4}} {}

TempoMap TempoMap::forQuarterNotes(int ticksPerQuarter) {
    return {static_cast<double>(ticksPerQuarter), kDefaultSecondsPerQuarter / ticksPerQuarter};
}

TempoMap TempoMap::forFrames(double ticksPerSecond) {
    TempoMap map(ticksPerSecond * kDefaultSecondsPerQuarter, 1.0 / ticksPerSecond);
    map.mTempoCounts = false;
    return map;
}

void TempoMap::addTempo(std::int64_t tick, int microsecondsPerQuarter) {
    if (!mTempoCounts || microsecondsPerQuarter <= 0) {
        return;
    }
    const double at = static_cast<double>(tick);
    const Tempo change{at, secondsAtTick(tick), microsecondsPerQuarter * 1e-6 / mTicksPerQuarter};
    if (mTempos.back().tick == at) {
        mTempos.back() = change;
    } else {
        mTempos.push_back(change);
    }
}

void TempoMap::addMeter(std::int64_t tick, int numerator, int denominator) {
    if (numerator <= 0 || denominator <= 0) {
        return;
    }
    const double at = static_cast<double>(tick) / mTicksPerQuarter;
    const Meter change{at, numerator * 4.0 / denominator, numerator, denominator};
    if (mMeters.back().beats == at) {
        mMeters.back() = change;
    } else {
        mMeters.push_back(change);
    }
}

double TempoMap::secondsAtTick(std::int64_t tick) const {
    const double at = static_cast<double>(tick);
    const Tempo& tempo = entryAt(mTempos, &Tempo::tick, at);
    return tempo.seconds + (at - tempo.tick) * tempo.secondsPerTick;
}

MusicalPosition TempoMap::positionAtSeconds(double seconds) const {
    const Tempo& tempo = entryAt(mTempos, &Tempo::seconds, seconds);
    const double tick = tempo.tick + (seconds - tempo.seconds) / tempo.secondsPerTick;
    MusicalPosition position;
    position.beats = tick / mTicksPerQuarter;
    position.beatsPerMinute = 60.0 / (tempo.secondsPerTick * mTicksPerQuarter);
    const Meter& meter = entryAt(mMeters, &Meter::beats, position.beats);
    const double bars = std::floor((position.beats - meter.beats) / meter.barBeats);
    position.barStart = std::min(position.beats, meter.beats + bars * meter.barBeats);
    position.numerator = meter.numerator;
    position.denominator = meter.denominator;
    return position;
}

} // namespace velnor::host
