#include "bridge/SyncInfo.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace velnor {

namespace {

constexpr double kDefaultBpm = 120.0;
constexpr int kDefaultFrames = 256;
constexpr double kDefaultRate = 44100.0;
constexpr double kBeatsPerCommonBar = 4.0;

double barLength(double numerator, double denominator) VELNOR_NONBLOCKING {
    const double length = numerator * 4.0 / denominator;
    return length > 0 ? length : kBeatsPerCommonBar;
}

// The lower end of the range of numbers that share a number's exponent.
double powerOfTwoBelow(double number) VELNOR_NONBLOCKING {
    constexpr std::uint64_t kExponent = 0x7FF0000000000000;
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(number) & kExponent);
}

// What is left of distance when length is taken away until limit is no longer exceeded, to the last
// bit of that many subtractions. Between two powers of two each of them rounds alike, so that one
// division stands for all but a few: sixty ranges at most, before the steps are too small to count.
double stepDown(double distance, double length, double limit) VELNOR_NONBLOCKING {
    while (distance > limit) {
        const double next = distance - length;
        if (!(next < distance)) {
            return limit;
        }
        const double afterNext = next - length;
        const double step = next - afterNext;
        const double end = powerOfTwoBelow(distance);
        distance = afterNext >= end ? end + std::fmod(afterNext - end, step) + step : next;
    }
    return distance;
}

// distance plus or minus whole lengths, as near above 0 as it gets: 0 stays 0, and length stays
// length. Apart from what calls it: hosts tell where the current bar starts, so that nearly no
// block comes here.
[[gnu::noinline]] double wrapIntoBar(double distance, double length) VELNOR_NONBLOCKING {
    return distance < 0 ? 0.0 - stepDown(-distance, length, 0.0)
                        : stepDown(distance, length, length);
}

int samplesIn(double beats, double beatsPerSecond, double rate) VELNOR_NONBLOCKING {
    const int samples = truncateToInt32(beats * rate / beatsPerSecond);
    return samples < 0 ? 0 : samples;
}

// Beats from ppq to the next line of bars so long, of which one starts at barStart.
double beatsToNextBar(double ppq, double barStart, double length) VELNOR_NONBLOCKING {
    if (ppq == barStart) {
        return 0.0;
    }
    const double distance = length + barStart - ppq;
    return distance < 0 || distance > length ? wrapIntoBar(distance, length) : distance;
}

} // namespace

int samplesToNextBar(double bpm, double ppq, double barStart, double numerator, double denominator,
                     double rate) VELNOR_NONBLOCKING {
    const double length = barLength(numerator, denominator);
    return samplesIn(beatsToNextBar(ppq, barStart, length), bpm / 60.0, rate);
}

int samplesToNextBeat(double bpm, double ppq, double barStart, double numerator, double denominator,
                      double rate) VELNOR_NONBLOCKING {
    const double barEnd = barStart + barLength(numerator, denominator);
    const double beat = std::ceil(ppq);
    return samplesIn((beat < barEnd ? beat : barEnd) - ppq, bpm / 60.0, rate);
}

SyncInfo::SyncInfo() : OrmoSyncInfo() {
    bpm = kDefaultBpm;
    timeSigNumerator = 4;
    timeSigDenominator = 4;
    prepare(kDefaultFrames, kDefaultRate, nullptr, nullptr, true);
}

void SyncInfo::reset(double rate) VELNOR_NONBLOCKING {
    static_cast<OrmoSyncInfo&>(*this) = OrmoSyncInfo();
    bpm = kDefaultBpm;
    timeSigNumerator = 4;
    timeSigDenominator = 4;
    sampleRate = std::nearbyint(rate);
}

bool SyncInfo::prepare(int frames, double rate, const char* /*label*/, std::string* text,
                       bool quiet) VELNOR_NONBLOCKING {
    beatsPerBar =
        timeSigDenominator < 1 ? kBeatsPerCommonBar : timeSigNumerator * 4.0 / timeSigDenominator;
    sampleLength = static_cast<std::int16_t>(frames);
    sampleRate = rate;
    if (const int code = valid(); code != 0) {
        if (!quiet && text != nullptr) {
            VELNOR_RT_ESCAPE("only callers that want the text pay for it; the render is quiet",
                             log(code, *text));
        }
        playing = 0;
        return false;
    }
    // As samplesToNextBar, each quotient computed once.
    const double beatsPerSecond = bpm / 60.0;
    const double length = timeSigDenominator >= 1 && beatsPerBar > 0
                              ? beatsPerBar
                              : barLength(timeSigNumerator, timeSigDenominator);
    samplesToBar = samplesIn(beatsToNextBar(ppq, barStart, length), beatsPerSecond, rate);
    blockBeats = frames * (beatsPerSecond / rate);
    crossesBar = ppq == barStart || ppq + blockBeats > barStart + beatsPerBar;
    crossesLoopEnd = looping != 0 && (ppq == loopStart || ppq + blockBeats > loopEnd);
    return true;
}

int SyncInfo::valid() VELNOR_NONBLOCKING {
    if (playing == 0) {
        return 0;
    }
    if (!(sampleRate > 0)) {
        return 1;
    }
    if (!(bpm > 0)) {
        return 3;
    }
    if (ppq < 0) {
        return 4;
    }
    if (timeSigNumerator < 1) {
        return 5;
    }
    if (timeSigDenominator < 1) {
        return 6;
    }
    if (barStart > ppq) {
        return 7;
    }
    if (ppq > barStart + beatsPerBar) {
        return 8;
    }
    if (looping == 0) {
        return 0;
    }
    if (loopEnd < 0) {
        return 9;
    }
    if (loopStart < 0) {
        return 10;
    }
    if (loopStart > loopEnd) {
        return 11;
    }
    if (loopStart > ppq + blockBeats || ppq > loopEnd) {
        looping = 0;
    }
    return 0;
}

bool SyncInfo::log(int code, std::string& text) const {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    line << std::setw(2) << code << " ppq:" << std::setw(10) << ppq << " L:" << std::setw(10)
         << blockBeats << " D:" << std::setw(12) << ppq - lastLoggedPpq << " bar:" << std::setw(6)
         << barStart << " (" << timeSigNumerator << "/" << timeSigDenominator << ")"
         << " bpm:" << std::setw(6) << bpm << " play:" << int{playing} << " loop:" << int{looping}
         << " diff:" << int{transportChanged} << " sr:" << sampleRate << " sl:" << std::setw(5)
         << sampleLength << " sp:" << samplePos << " ls:" << loopStart << " le:" << loopEnd;
    lastLoggedPpq = ppq;
    text = line.str();
    return code == 0;
}

} // namespace velnor
