#include "host/commands/RenderArguments.h"

#include "host/commands/ArgumentChecks.h"
#include "host/job/JobError.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <exception>
#include <map>

namespace velnor::host {

namespace {

constexpr double kLongestTail = 60.0; // seconds, for a tail until silence
constexpr double kLastPosition = 1e6; // seconds; beyond it no position is asked for

Container containerOf(const RenderArguments& arguments) {
    static const std::map<std::string, Container> kContainers = {
        {"wav", Container::kWav}, {"flac", Container::kFlac}, {"raw", Container::kRaw}};
    std::string word = arguments.format;
    const std::string& output = arguments.options.output;
    if (word.empty() && output != "-") {
        const std::string name = output.substr(output.find_last_of('/') + 1);
        const std::size_t dot = name.find_last_of('.');
        word = dot == std::string::npos ? "" : name.substr(dot + 1);
        std::transform(word.begin(), word.end(), word.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    }
    if (word.empty()) {
        word = "wav";
    }
    const auto found = kContainers.find(word);
    if (found == kContainers.end()) {
        throw JobError(output + ": cannot tell the file format from the name; add --format wav, "
                                "flac or raw",
                       kExitUsage);
    }
    return found->second;
}

void readTail(const std::string& word, RenderPlan& plan) {
    plan.tailUntilSilence = word == "auto";
    if (plan.tailUntilSilence) {
        plan.tailSeconds = kLongestTail;
        return;
    }
    std::size_t used = 0;
    try {
        plan.tailSeconds = std::stod(word, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (word.empty() || used != word.size() ||
        !(plan.tailSeconds >= 0.0 && plan.tailSeconds <= 3600.0)) {
        throw JobError("--tail \"" + word + "\": give 0 to 3600 seconds, or auto", kExitUsage);
    }
}

std::vector<UInt32> readBuses(const std::string& word) {
    std::vector<UInt32> buses;
    const char* at = word.data();
    const char* const end = at + word.size();
    for (bool more = !word.empty(); more; ++at) {
        UInt32 channels = 0;
        const auto [stop, error] = std::from_chars(at, end, channels);
        more = stop != end;
        if (error != std::errc() || channels == 0 || (more && *stop != ',')) {
            throw JobError("--buses \"" + word +
                               "\": give a number of channels, from 1, for each bus, as 2,2,1",
                           kExitUsage);
        }
        buses.push_back(channels);
        at = stop;
    }
    return buses;
}

void requireOrder(const RenderPlan& plan) {
    const double frames = std::round(plan.toSeconds * plan.rate);
    if (plan.toSeconds >= 0.0 && frames <= std::round(plan.fromSeconds * plan.rate)) {
        throw JobError("--to must be later than --from by one frame at least", kExitUsage);
    }
}

void runRender(RenderArguments& arguments) {
    static const std::map<std::string, SampleFormat> kBits = {{"16", SampleFormat::kInt16},
                                                              {"24", SampleFormat::kInt24},
                                                              {"float", SampleFormat::kFloat}};
    RenderOptions& options = arguments.options;
    options.format.container = containerOf(arguments);
    options.format.samples = kBits.at(arguments.bits);
    options.format.rate = static_cast<int>(options.plan.rate);
    if (options.format.rate != options.plan.rate) {
        throw JobError("--rate: give a whole number", kExitUsage);
    }
    options.bestQuality = arguments.quality == "best";
    options.buses = readBuses(arguments.buses);
    requireOrder(options.plan);
    readTail(arguments.tail, options.plan);
    renderCommand(options);
}

} // namespace

void addRender(CLI::App& app, RenderArguments& arguments) {
    CLI::App* command = app.add_subcommand("render", "Play a MIDI file into an audio file");
    RenderOptions& options = arguments.options;
    command->add_option("SONG", options.song, "A Standard MIDI File; - reads standard input")
        ->required()
        ->check(notEmpty());
    command
        ->add_option("-o,--output", options.output, "The audio file; - writes to standard output")
        ->required()
        ->check(notEmpty());
    command
        ->add_option("--format", arguments.format,
                     "wav, flac or raw (little-endian samples alone); from OUT's extension "
                     "when not given")
        ->check(CLI::IsMember({"wav", "flac", "raw"}));
    command->add_option("--bits", arguments.bits, "16, 24 or float (default 16)")
        ->check(CLI::IsMember({"16", "24", "float"}));
    command->add_option("--rate", options.plan.rate, "Frames per second (default 44100)")
        ->check(numberWithin(8000.0, 192000.0, "8000 to 192000"));
    command->add_option("--block", options.plan.block, "Frames of one pull (default 512)")
        ->check(CLI::Range(1u, 65536u));
    command->add_option("--tail", arguments.tail,
                        "Seconds after the last event, or auto: until silence (default auto)");
    command->add_option("--from", options.plan.fromSeconds, "Begin so many seconds into the song")
        ->check(numberWithin(0.0, kLastPosition, "seconds, from 0"));
    command
        ->add_option("--to", options.plan.toSeconds,
                     "Stop so many seconds into the song, without a tail")
        ->check(numberWithin(0.0, kLastPosition, "seconds, from 0"));
    command->add_option("--preset", options.preset, "Restore this preset file first")
        ->check(notEmpty());
    command
        ->add_option("--save-preset", options.savePreset,
                     "Save the instrument's state there at the end")
        ->check(notEmpty());
    command
        ->add_option("--component", options.component,
                     "Name, subtype code or bundle path (default: the first instrument)")
        ->check(notEmpty());
    command->add_option("--buses", arguments.buses, "Channels of each output bus, as 2,2,1")
        ->check(notEmpty());
    command->add_flag("--split", options.split, "A file per bus: OUT-1.wav, OUT-2.wav, ...");
    command
        ->add_option("--quality", arguments.quality,
                     "normal or best; the SoundFont engine then interpolates better, for a tenth "
                     "to a quarter more processor time (default normal)")
        ->check(CLI::IsMember({"normal", "best"}));
    command->add_flag("--realtime", options.realtime, "Do not tell the engine that it is offline");
    command->add_flag("--allow-silence", options.allowSilence, "Go on without an engine");
    command->callback([&arguments] { runRender(arguments); });
}

} // namespace velnor::host
