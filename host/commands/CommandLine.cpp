#include "host/commands/CommandLine.h"

#include "host/commands/ArgumentChecks.h"
#include "host/commands/DoctorCommand.h"
#include "host/commands/InfoCommand.h"
#include "host/commands/InstallCommand.h"
#include "host/commands/PresetCommand.h"
#include "host/commands/RenderArguments.h"
#include "host/commands/UninstallCommand.h"
#include "host/job/Interruption.h"
#include "host/job/JobError.h"
#include "host/job/Terminal.h"
#include "platform/Alerts.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <new>
#include <sstream>
#include <unistd.h>

namespace velnor::host {

namespace {

constexpr const char* kExamples = R"(Examples:
  velnor-host install Velnor.component --engine SoundFont.engine --data ~/sounds
  velnor-host doctor
  velnor-host render song.mid -o song.wav
  velnor-host render song.mid -o song.flac --rate 48000 --bits 24 --tail 3
  velnor-host render song.mid -o - --format raw | aplay -f cd

Exit status: 0 done, 1 the job failed, 2 wrong use.)";

// What most commands take where no COMPONENT is named.
constexpr const char* kFirst = "the first instrument";

// The host runs unattended: what would be a dialog is a line.
SInt32 presentAsLine(const PlatformAlert* alert, void*) {
    printNotice(std::string(alert->header) + ": " + alert->message);
    return 0;
}

// What the subcommands read; lives as long as the parse.
struct Arguments {
    std::string component;
    std::string first;
    std::string second;
    bool json = false;
    InstallOptions install;
    ExitStatus status = kExitDone;
};

void addComponentOption(CLI::App* command, Arguments& arguments, const char* otherwise) {
    command
        ->add_option("COMPONENT", arguments.component,
                     std::string("Name, subtype code or bundle path (default: ") + otherwise + ")")
        ->check(notEmpty());
}

void addInstall(CLI::App& app, Arguments& arguments) {
    CLI::App* install =
        app.add_subcommand("install", "Put component and engine where instruments are found");
    install->add_option("BUNDLE", arguments.install.component, "The .component bundle")
        ->required()
        ->check(notEmpty());
    install->add_option("--engine", arguments.install.engine, "The engine's bundle")
        ->required()
        ->check(notEmpty());
    install->add_option("--data", arguments.install.data, "The folder with the engine's sounds")
        ->required()
        ->check(notEmpty());
    install->add_flag("--write-setup", arguments.install.writeSetup,
                      "Write OrmoSetup.xml into that folder where there is none");
    install->callback([&arguments] { installCommand(arguments.install); });
    CLI::App* uninstall = app.add_subcommand("uninstall", "Take an installation back");
    addComponentOption(uninstall, arguments, "the only one");
    uninstall->callback([&arguments] { uninstallCommand(arguments.component); });
}

void addQueries(CLI::App& app, Arguments& arguments) {
    CLI::App* components = app.add_subcommand("components", "List what is installed");
    components->add_flag("--json", arguments.json, "As JSON");
    components->callback([&arguments] { componentsCommand(arguments.json); });
    CLI::App* info = app.add_subcommand("info", "Show all that an instrument says of itself");
    addComponentOption(info, arguments, kFirst);
    info->add_flag("--json", arguments.json, "As JSON");
    info->callback([&arguments] { infoCommand(arguments.component, arguments.json); });
    CLI::App* doctor = app.add_subcommand("doctor", "Find out why an instrument does not play");
    addComponentOption(doctor, arguments, kFirst);
    doctor->callback([&arguments] {
        if (!doctorCommand(arguments.component)) {
            arguments.status = kExitFailed;
        }
    });
}

void addPreset(CLI::App& app, Arguments& arguments) {
    CLI::App* preset = app.add_subcommand("preset", "Work with preset files");
    preset->require_subcommand(1);
    CLI::App* show = preset->add_subcommand("show", "Print what a preset file holds");
    show->add_option("FILE", arguments.first, "The preset")->required()->check(notEmpty());
    show->callback([&arguments] { showPreset(arguments.first); });
    CLI::App* save = preset->add_subcommand("save", "Save an instrument's state as it opens");
    save->add_option("FILE", arguments.first, "The preset to write; - is standard output")
        ->required()
        ->check(notEmpty());
    save->add_option("--component", arguments.component, "Name, subtype code or bundle path")
        ->check(notEmpty());
    save->add_option("--preset", arguments.second, "Restore this preset first")->check(notEmpty());
    save->callback(
        [&arguments] { savePreset(arguments.first, arguments.component, arguments.second); });
    CLI::App* diff =
        preset->add_subcommand("diff", "Compare two presets; exit status 1: they differ");
    diff->add_option("A", arguments.first, "A preset")->required()->check(notEmpty());
    diff->add_option("B", arguments.second, "Another")->required()->check(notEmpty());
    diff->callback([&arguments] {
        if (!diffPresets(arguments.first, arguments.second)) {
            arguments.status = kExitFailed;
        }
    });
}

// A closed standard stream's number would go to the next file that is opened, a log perhaps, and
// the sound into it. What takes its place can neither be read, for input, nor written, for output;
// messages are lost silently.
void holdStandardStreams() {
    constexpr int kModes[] = {O_WRONLY, O_RDONLY, O_WRONLY};
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            static_cast<void>(open("/dev/null", kModes[stream]));
        }
    }
}

// What was wrong about the words, and where to look it up.
std::string usageLine(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App* command = &app;
    std::string words = app.get_name();
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        words += " " + command->get_name();
    }
    std::string problem = error.what();
    std::vector<std::string> unknown = app.remaining(true);
    std::erase(unknown, "--");
    const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
    const bool isUnknown =
        code == CLI::ExitCodes::RequiredError || code == CLI::ExitCodes::ExtrasError;
    if (isUnknown && !unknown.empty()) {
        problem = unknown.front();
        if (problem.starts_with('-')) {
            problem += ": no such option";
        } else if (command->get_require_subcommand_min() > 0) {
            problem += ": no such command";
        } else {
            problem += ": one word too many";
        }
    }
    return problem + " (see " + words + " --help)";
}

// What was printed may still wait in a buffer for a disk that is full.
void requirePrinted() {
    errno = 0;
    const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
    if (failed) {
        throw JobError(std::string("standard output: ") +
                       (errno != 0 ? std::strerror(errno) : "it could not be written"));
    }
}

// Runs the command, too. kExitUsage when the words are wrong, which a notice has said.
ExitStatus parse(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) {
            printNotice(usageLine(app, error));
            return kExitUsage;
        }
        std::ostringstream help; // or the version
        app.exit(error, help, help);
        printText(help.str());
    }
    return kExitDone;
}

} // namespace

int runCommandLine(int argc, char** argv) {
    holdStandardStreams();
    CLI::App app("Plays MIDI files through an installed instrument.", "velnor-host");
    app.require_subcommand(1);
    RenderArguments render;
    Arguments arguments;
    addRender(app, render);
    addInstall(app, arguments);
    addQueries(app, arguments);
    addPreset(app, arguments);
    app.set_version_flag("--version", "velnor-host " VELNOR_VERSION);
    app.set_help_all_flag("--help-all", "Help for every command");
    app.footer(kExamples);
    watchForInterruption();
    PlatformSetAlertPresenter(presentAsLine, nullptr);
    try {
        const ExitStatus wrong = parse(app, argc, argv);
        requirePrinted();
        return wrong == kExitDone ? arguments.status : wrong;
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
