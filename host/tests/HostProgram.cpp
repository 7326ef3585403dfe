#include "host/tests/HostProgram.h"

#include "testing/Testing.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <pty.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velnor::testing {

namespace {

constexpr const char* kSoundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";

std::string bigEndian(std::uint32_t value, int width) {
    std::string bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift);
    }
    return bytes;
}

} // namespace

std::string midiFile(const std::vector<std::string>& tracks, int division) {
    std::string file = "MThd" + bigEndian(6, 4) + bigEndian(tracks.size() > 1 ? 1 : 0, 2) +
                       bigEndian(static_cast<std::uint32_t>(tracks.size()), 2) +
                       bigEndian(static_cast<std::uint32_t>(division), 2);
    for (const std::string& track : tracks) {
        const std::string events = FromHex(track);
        file += "MTrk" + bigEndian(static_cast<std::uint32_t>(events.size()), 4) + events;
    }
    return file;
}

std::string songOf(const std::vector<int>& notes) {
    std::string track = "00C013"; // a church organ
    for (std::size_t i = 0; i < notes.size(); ++i) {
        char note[40];
        std::snprintf(note, sizeof note, "0090%02X64836080%02X00", notes[i], notes[i]);
        track += (i == 4 ? "00FF51030F4240" : "") + std::string(note);
    }
    return midiFile({track + "00FF2F00"});
}

HostProgram::HostProgram() {
    std::filesystem::create_directories(path("data"));
    std::filesystem::create_symlink(kSoundFont, path("data/font.sf2"));
}

Outcome HostProgram::runToEnd(const std::vector<std::string>& arguments, int signal, int after,
                              int output, int closed) const {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const std::string files[] = {path("stdin"), path("stdout"), path("stderr")};
    for (int i = 0; i < 3; ++i) {
        posix_spawn_file_actions_addopen(&actions, i, files[i].c_str(),
                                         i == 0 ? O_RDONLY | O_CREAT : O_WRONLY | O_CREAT | O_TRUNC,
                                         0600);
    }
    if (output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    }
    if (closed >= 0) {
        posix_spawn_file_actions_addclose(&actions, closed);
    }
    std::vector<std::string> words = {VELNOR_HOST_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        throw std::runtime_error(words[0]); // no process, and so none to signal
    }
    posix_spawn_file_actions_destroy(&actions);
    if (signal != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(after));
        kill(child, signal);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadFile(files[1]),
            ReadFile(files[2])};
}

Outcome HostProgram::run(const std::vector<std::string>& arguments, const std::string& input,
                         int output, int closed) const {
    WriteFile(path("stdin"), input);
    return runToEnd(arguments, 0, 0, output, closed);
}

Outcome HostProgram::runInterrupted(const std::vector<std::string>& arguments, int signal,
                                    int after) const {
    return runToEnd(arguments, signal, after, -1, -1);
}

Outcome HostProgram::runAtTerminal(const std::vector<std::string>& arguments,
                                   unsigned short columns) const {
    std::vector<std::string> words = {VELNOR_HOST_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const winsize size = {24, columns, 0, 0};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        execv(argv[0], argv.data());
        _exit(127);
    }
    Outcome outcome = {};
    char piece[4096];
    for (ssize_t got = 0; (got = read(terminal, piece, sizeof piece)) > 0;) {
        outcome.out.append(piece, static_cast<std::size_t>(got));
    }
    close(terminal);
    waitpid(child, &outcome.status, 0);
    outcome.status = WEXITSTATUS(outcome.status);
    return outcome;
}

Outcome HostProgram::install(const std::string& engine, const std::string& component) const {
    const std::string bundles = VELNOR_BUNDLE_DIR;
    return run({"install", component.empty() ? bundles + "/Velnor.component" : component,
                "--engine", bundles + "/" + engine + ".engine", "--data", path("data"),
                "--write-setup"});
}

std::string HostProgram::patchedComponent(std::size_t offset, const std::string& bytes) const {
    const std::string copy = path("patched/Velnor.component");
    std::filesystem::remove_all(copy);
    std::filesystem::create_directories(copy);
    std::filesystem::copy(VELNOR_BUNDLE_DIR "/Velnor.component", copy,
                          std::filesystem::copy_options::recursive);
    const std::string executable = copy + "/Contents/" VELNOR_PLATFORM_FOLDER "/Velnor";
    std::string file = ReadFile(executable);
    const std::string start = FromHex("7856341200000000") + "QXTA";
    for (auto at = file.find(start); at != std::string::npos; at = file.find(start, at + 1)) {
        file.replace(at + offset, bytes.size(), bytes);
    }
    WriteFile(executable, file);
    return copy;
}

std::string HostProgram::song(const std::string& bytes, const std::string& name) const {
    return WriteFile(path(name), bytes);
}

std::vector<std::string> HostProgram::filesLike(const std::string& start) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(home.Root())) {
        if (entry.path().filename().string().starts_with(start)) {
            names.push_back(entry.path().filename());
        }
    }
    return names;
}

} // namespace velnor::testing
