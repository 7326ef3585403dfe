// The song's tempo and meter changes, and positions between ticks, seconds and beats.
#ifndef VELNOR_HOST_SONG_TEMPOMAP_H
#define VELNOR_HOST_SONG_TEMPOMAP_H

#include <cstdint>
#include <vector>

namespace velnor::host {

// Where a song is, as hosts tell it to instruments. A beat is a quarter note.
struct MusicalPosition {
    double beats = 0.0; // from the song's start
    double beatsPerMinute = 120.0;
    double barStart = 0.0; // the present bar's first beat, counted like beats
    int numerator = 4;     // of the time signature
    int denominator = 4;
};

// Built once, then read only: thread any, concurrent; the look-ups are nonblocking in effect (a
// binary search). Ticks and seconds start at 0.
class TempoMap {
public:
    // A file that counts ticks in quarter notes. Before the first change: 120 beats per minute,
    // 4/4.
    static TempoMap forQuarterNotes(int ticksPerQuarter);
    // A file that counts ticks in SMPTE frames: tempo changes mean nothing there, and positions are
    // given at 120 beats per minute.
    static TempoMap forFrames(double ticksPerSecond);

    // In ascending tick order; a change at the tick of the last one replaces it. Zero and negative
    // values are ignored.
    void addTempo(std::int64_t tick, int microsecondsPerQuarter);
    void addMeter(std::int64_t tick, int numerator, int denominator);

    double secondsAtTick(std::int64_t tick) const;
    MusicalPosition positionAtSeconds(double seconds) const;

private:
    struct Tempo {
        double tick;
        double seconds;
        double secondsPerTick;
    };
    struct Meter {
        double beats;    // where it begins: always a bar line
        double barBeats; // of one bar
        int numerator;
        int denominator;
    };

    TempoMap(double ticksPerQuarter, double secondsPerTick);

    double mTicksPerQuarter;
    bool mTempoCounts;
    std::vector<Tempo> mTempos;
    std::vector<Meter> mMeters;
};

} // namespace velnor::host

#endif
