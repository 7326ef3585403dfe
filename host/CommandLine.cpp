#include "host/CommandLine.h"

#include "host/ArgumentChecks.h"
#include "host/DoctorCommand.h"
#include "host/InfoCommand.h"
#include "host/InstallCommand.h"
#include "host/Interruption.h"
#include "host/JobError.h"
#include "host/PresetCommand.h"
#include "host/RenderArguments.h"
#include "host/Terminal.h"
#include "platform/Alerts.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

namespace velnor::host {

namespace {

constexpr const char* kExamples = R"(Examples:
  velnor-host install Velnor.component --engine SoundFont.engine --data ~/sounds
  velnor-host doctor
  velnor-host render song.mid -o song.wav
  velnor-host render song.mid -o song.flac --rate 48000 --bits 24 --tail 3
  velnor-host render song.mid -o - --format raw | aplay -f cd

Exit status: 0 done, 1 the job failed, 2 wrong use.)";

/* The host runs unattended: what would be a dialog is a line. */
SInt32 presentAsLine(const PlatformAlert* alert, void*) {
    printNotice(std::string(alert->header) + ": " + alert->message);
    return 0;
}

/* What the subcommands read; lives as long as the parse. */
struct Arguments {
    std::string component;
    std::string first;
    std::string second;
    bool json = false;
    InstallOptions install;
    ExitStatus status = kExitDone;
};

void addComponentOption(CLI::App* command, Arguments& arguments) {
    command
        ->add_option("COMPONENT", arguments.component,
                     "Name, subtype code or bundle path (default: the first instrument)")
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
    addComponentOption(uninstall, arguments);
    uninstall->callback([&arguments] { uninstallCommand(arguments.component); });
}

void addQueries(CLI::App& app, Arguments& arguments) {
    CLI::App* components = app.add_subcommand("components", "List what is installed");
    components->add_flag("--json", arguments.json, "As JSON");
    components->callback([&arguments] { componentsCommand(arguments.json); });
    CLI::App* info = app.add_subcommand("info", "Show all that an instrument says of itself");
    addComponentOption(info, arguments);
    info->add_flag("--json", arguments.json, "As JSON");
    info->callback([&arguments] { infoCommand(arguments.component, arguments.json); });
    CLI::App* doctor = app.add_subcommand("doctor", "Find out why an instrument does not play");
    addComponentOption(doctor, arguments);
    doctor->callback([&arguments] {
        if (!doctorCommand(arguments.component))
            arguments.status = kExitFailed;
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
        if (!diffPresets(arguments.first, arguments.second))
            arguments.status = kExitFailed;
    });
}

/* A closed standard stream's number would go to the next file that is opened, a log perhaps, and
 * the sound into it. What takes its place can neither be read, for input, nor written, for output;
 * messages are lost silently. */
void holdStandardStreams() {
    constexpr int kModes[] = {O_WRONLY, O_RDONLY, O_WRONLY};
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            static_cast<void>(open("/dev/null", kModes[stream]));
}

/* What was wrong about the words, and where to look it up. */
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
        if (problem.starts_with('-'))
            problem += ": no such option";
        else if (command->get_require_subcommand_min() > 0)
            problem += ": no such command";
        else
            problem += ": one word too many";
    }
    return problem + " (see " + words + " --help)";
}

/* What was printed may still wait in a buffer for a disk that is full. */
void requirePrinted() {
    errno = 0;
    const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
    if (failed)
        throw JobError(std::string("standard output: ") +
                       (errno != 0 ? std::strerror(errno) : "it could not be written"));
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
        app.parse(argc, argv);
        requirePrinted();
        return arguments.status;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        printNotice(usageLine(app, error));
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
