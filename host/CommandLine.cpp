#include "host/CommandLine.h"

#include "host/Interruption.h"
#include "host/JobError.h"
#include "host/RenderCommand.h"
#include "host/Terminal.h"
#include "platform/Alerts.h"

#include <algorithm>
#include <exception>
#include <map>

#include <CLI/CLI.hpp>

namespace velnor::host {

namespace {

constexpr double kLongestTail = 60.0; /* seconds, for a tail until silence */

/* The host runs unattended: what would be a dialog is a line. */
SInt32 presentAsLine(const PlatformAlert* alert, void*) {
    printNotice(std::string(alert->header) + ": " + alert->message);
    return 0;
}

struct RenderArguments {
    RenderOptions options;
    std::string format;
    std::string bits = "16";
    std::string tail = "auto";
};

Container containerOf(const RenderArguments& arguments) {
    static const std::map<std::string, Container> kContainers = {
        {"wav", Container::kWav}, {"flac", Container::kFlac}, {"raw", Container::kRaw}};
    std::string word = arguments.format;
    const std::string& output = arguments.options.output;
    if (word.empty() && output != "-") {
        const std::size_t dot = output.find_last_of('.');
        word = dot == std::string::npos ? "" : output.substr(dot + 1);
        std::transform(word.begin(), word.end(), word.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    }
    if (word.empty())
        word = "wav";
    const auto found = kContainers.find(word);
    if (found == kContainers.end())
        throw JobError(output + ": cannot tell the file format from the name; add --format wav, "
                                "flac or raw",
                       kExitUsage);
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
    if (used != word.size() || !(plan.tailSeconds >= 0.0 && plan.tailSeconds <= 3600.0))
        throw JobError("--tail " + word + ": give 0 to 3600 seconds, or auto", kExitUsage);
}

void runRender(RenderArguments& arguments) {
    static const std::map<std::string, SampleFormat> kBits = {{"16", SampleFormat::kInt16},
                                                              {"24", SampleFormat::kInt24},
                                                              {"float", SampleFormat::kFloat}};
    RenderOptions& options = arguments.options;
    options.format.container = containerOf(arguments);
    options.format.samples = kBits.at(arguments.bits);
    options.format.rate = static_cast<int>(options.plan.rate);
    readTail(arguments.tail, options.plan);
    renderCommand(options);
}

void addRender(CLI::App& app, RenderArguments& arguments) {
    CLI::App* command = app.add_subcommand("render", "Play a MIDI file into an audio file");
    RenderOptions& options = arguments.options;
    command->add_option("SONG", options.song, "A Standard MIDI File; - reads standard input")
        ->required();
    command
        ->add_option("-o,--output", options.output, "The audio file; - writes to standard output")
        ->required();
    command
        ->add_option("--format", arguments.format,
                     "wav, flac or raw (little-endian samples alone); from OUT's extension "
                     "when not given")
        ->check(CLI::IsMember({"wav", "flac", "raw"}));
    command->add_option("--bits", arguments.bits, "16, 24 or float (default 16)")
        ->check(CLI::IsMember({"16", "24", "float"}));
    command->add_option("--rate", options.plan.rate, "Frames per second (default 44100)")
        ->check(CLI::Range(8000.0, 192000.0));
    command->add_option("--block", options.plan.block, "Frames of one pull (default 512)")
        ->check(CLI::Range(1u, 65536u));
    command->add_option("--tail", arguments.tail,
                        "Seconds after the last event, or auto: until silence (default auto)");
    command->add_option("--from", options.plan.fromSeconds, "Begin so many seconds into the song")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--to", options.plan.toSeconds, "Stop so many seconds into the song")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--preset", options.preset, "Restore this preset file first");
    command->add_option("--save-preset", options.savePreset,
                        "Save the instrument's state there at the end");
    command->add_option("--component", options.component,
                        "Name, subtype code or bundle path (default: the first instrument)");
    command->add_option("--buses", options.buses, "Channels of each output bus, as 2,2,1")
        ->delimiter(',');
    command->add_flag("--split", options.split, "A file per bus: OUT-1.wav, OUT-2.wav, ...");
    command->add_flag("--realtime", options.realtime, "Do not tell the engine that it is offline");
    command->add_flag("--allow-silence", options.allowSilence, "Go on without an engine");
    command->callback([&arguments] { runRender(arguments); });
}

} // namespace

int runCommandLine(int argc, char** argv) {
    CLI::App app("Plays MIDI files through an installed instrument.", "velnor-host");
    app.require_subcommand(1);
    RenderArguments render;
    addRender(app, render);
    watchForInterruption();
    PlatformSetAlertPresenter(presentAsLine, nullptr);
    try {
        app.parse(argc, argv);
        return kExitDone;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        printNotice(std::string(error.what()) + " (see velnor-host --help)");
        return kExitUsage;
    } catch (const JobError& error) {
        printNotice(error.what());
        return error.exitStatus();
    } catch (const std::bad_alloc&) {
        printNotice("out of memory");
    } catch (const std::exception& error) {
        printNotice(error.what());
    }
    return kExitFailed;
}

} // namespace velnor::host
