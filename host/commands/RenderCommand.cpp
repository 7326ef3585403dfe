#include "host/commands/RenderCommand.h"

#include "host/audio/LevelMeter.h"
#include "host/instrument/ComponentFinder.h"
#include "host/instrument/PresetFile.h"
#include "host/job/DistinctFiles.h"
#include "host/job/InputFile.h"
#include "host/job/Interruption.h"
#include "host/job/JobError.h"
#include "host/job/PartialFile.h"
#include "host/job/Terminal.h"
#include "host/render/BusMix.h"

#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace velnor::host {

namespace {

constexpr double kLongestSong = 24.0 * 3600.0; // seconds; a longer one is bounded by --to

// song.wav, 2 -> song-2.wav
std::string numberedPath(const std::string& path, UInt32 number) {
    const std::size_t slash = path.find_last_of('/');
    const std::size_t dot = path.find_last_of('.');
    const bool hasExtension =
        dot != std::string::npos && (slash == std::string::npos || dot > slash + 1) && dot > 0;
    const std::size_t end = hasExtension ? dot : path.size();
    return path.substr(0, end) + "-" + std::to_string(number) + path.substr(end);
}

std::string clockText(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%d:%06.3f", static_cast<int>(seconds / 60.0),
                  std::fmod(seconds, 60.0));
    return text;
}

class RenderJob {
public:
    explicit RenderJob(const RenderOptions& options)
        : mOptions(options), mSong(readMidiSong(options.song)),
          mInstrument(findInstrument(options.component)) {
        requireLength();
        if (!options.buses.empty()) {
            mInstrument.setBuses(options.buses);
        }
        mInstrument.setOffline(!options.realtime);
        mRenderer = std::make_unique<SongRenderer>(mInstrument, mSong, options.plan);
        requireEngine();
        if (options.bestQuality && mInstrument.hasEngine()) {
            mInstrument.setBestQuality();
        }
        if (options.plan.fromSeconds > 0.0 && mRenderer->expectedFrames() <= 0) {
            throw JobError("--from " + clockText(options.plan.fromSeconds) +
                           ": the song is over by then");
        }
        if (!options.preset.empty()) {
            restoreState(mInstrument.unit(), readPreset(options.preset).Get(), options.preset);
        }
        if (!options.savePreset.empty()) {
            const PartialFile canBeWritten(options.savePreset);
        }
        openFiles();
    }

    void run() {
        const auto begin = std::chrono::steady_clock::now();
        const std::uint64_t messages = play();
        if (interrupted()) {
            throw JobError("interrupted; nothing was written");
        }
        if (!mOptions.savePreset.empty()) {
            writePreset(mOptions.savePreset, stateOf(mInstrument.unit()).Get());
        }
        for (const auto& file : mFiles) {
            file->finish();
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        report(messages, took.count());
    }

private:
    void requireEngine() const {
        if (!mInstrument.hasEngine() && !mOptions.allowSilence) {
            throw JobError("the instrument has no working engine and would only play silence; run: "
                           "velnor-host doctor (or render with --allow-silence)");
        }
    }

    // One wrong delta time makes days of silence of a song.
    void requireLength() const {
        const double seconds = mSong.lengthSeconds();
        if (mOptions.plan.toSeconds < 0.0 && seconds > kLongestSong) {
            throw JobError(shownInput(mOptions.song) + ": it lasts " +
                           std::to_string(static_cast<std::int64_t>(seconds / 3600.0)) +
                           " hours; say with --to where to stop");
        }
    }

    void openFiles() {
        const UInt32 buses = mInstrument.pulledBuses();
        AudioFormat format = mOptions.format;
        format.mostFrames = mRenderer->expectedFrames();
        if (!mOptions.split) {
            format.channels = 0;
            for (UInt32 bus = 0; bus < buses; ++bus) {
                format.channels =
                    std::max(format.channels, static_cast<int>(mInstrument.bus(bus).size()));
            }
            mFiles.push_back(std::make_unique<AudioFile>(mOptions.output, format));
            return;
        }
        std::vector<std::string> names = {mOptions.savePreset};
        for (UInt32 bus = 0; bus < buses; ++bus) {
            names.push_back(numberedPath(mOptions.output, bus + 1));
        }
        requireDistinctFiles({mOptions.song, mOptions.preset}, names);
        for (UInt32 bus = 0; bus < buses; ++bus) {
            format.channels = static_cast<int>(mInstrument.bus(bus).size());
            mFiles.push_back(std::make_unique<AudioFile>(names[bus + 1], format));
        }
    }

    std::uint64_t play() {
        ProgressBar bar("rendering");
        const auto expected = static_cast<double>(mRenderer->expectedFrames());
        return mRenderer->run([&](const Instrument& instrument, UInt32 frames) {
            if (mOptions.split) {
                for (UInt32 bus = 0; bus < mFiles.size(); ++bus) {
                    write(*mFiles[bus], instrument.bus(bus), frames);
                }
            } else {
                write(*mFiles.front(), mMix.mix(instrument, frames), frames);
            }
            mFrames += frames;
            bar.show(static_cast<double>(mFrames) / expected, clockText(seconds()));
            return !interrupted();
        });
    }

    void write(AudioFile& file, std::span<const float* const> channels, UInt32 frames) {
        if (!mMeter.add(channels, frames)) {
            channels = mMix.mend(channels, frames);
            mMeter.add(channels, frames);
        }
        file.write(channels, frames);
    }

    double seconds() const { return static_cast<double>(mFrames) / mOptions.plan.rate; }

    std::string shownOutput() const {
        if (mOptions.output == "-") {
            return "standard output";
        }
        if (!mOptions.split) {
            return mOptions.output;
        }
        const auto last = static_cast<UInt32>(mFiles.size());
        return numberedPath(mOptions.output, 1) +
               (last > 1 ? " to " + numberedPath(mOptions.output, last) : "");
    }

    void report(std::uint64_t messages, double took) const {
        if (mMix.mended() > 0) {
            printNotice("the engine gave " + std::to_string(mMix.mended()) +
                        " samples that are no numbers; they were made silent");
        }
        if (mMeter.clipped() > 0 && mOptions.format.samples != SampleFormat::kFloat) {
            printNotice(std::to_string(mMeter.clipped()) +
                        " samples were clipped; lower the engine's gain or use --bits float");
        }
        if (mMeter.peakDecibels() == -HUGE_VAL) {
            printNotice(
                "not a sound was heard at " + std::to_string(mOptions.format.rate) +
                " Hz; if there should be one, try another --rate or run: velnor-host doctor");
        }
        char facts[160];
        std::snprintf(facts, sizeof facts,
                      "%s long, peak %.1f dBFS, RMS %.1f dBFS, %" PRIu64
                      " events, %.0f x real time",
                      clockText(seconds()).c_str(), mMeter.peakDecibels(), mMeter.rmsDecibels(),
                      messages, took > 0.0 ? seconds() / took : 0.0);
        printReport(shownOutput() + ": " + facts);
    }

    const RenderOptions& mOptions;
    MidiSong mSong;
    Instrument mInstrument;
    std::unique_ptr<SongRenderer> mRenderer;
    std::vector<std::unique_ptr<AudioFile>> mFiles;
    BusMix mMix;
    LevelMeter mMeter;
    std::int64_t mFrames = 0;
};

} // namespace

void renderCommand(const RenderOptions& options) {
    if (options.split && options.output == "-") {
        throw JobError("--split writes several files and cannot go to standard output", kExitUsage);
    }
    if (options.savePreset == "-" && options.output == "-") {
        throw JobError("sound and preset cannot both go to standard output", kExitUsage);
    }
    if (options.output == "-" && isatty(STDOUT_FILENO)) {
        throw JobError("standard output is a terminal, which cannot show sound; name a file or "
                       "pipe it on",
                       kExitUsage);
    }
    requireDistinctFiles({options.song, options.preset},
                         {options.split ? "" : options.output, options.savePreset});
    RenderJob(options).run();
}

} // namespace velnor::host
