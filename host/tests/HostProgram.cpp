#include "host/tests/HostProgram.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velnor::test {

namespace {

constexpr const char* kSoundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";

std::string bigEndian(std::uint32_t value, int width) {
    std::string bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

} // namespace

std::string songOf(const std::vector<int>& notes) {
    std::string track("\x00\xC0\x13", 3); /* a church organ */
    for (std::size_t i = 0; i < notes.size(); ++i) {
        const char note = static_cast<char>(notes[i]);
        if (i == 4)
            track += std::string("\x00\xFF\x51\x03\x0F\x42\x40", 7);
        track += std::string("\x00\x90", 2) + note + '\x64';
        track += std::string("\x83\x60\x80", 3) + note + std::string(1, '\0');
    }
    track += std::string("\x00\xFF\x2F\x00", 4);
    return "MThd" + bigEndian(6, 4) + bigEndian(0, 2) + bigEndian(1, 2) + bigEndian(480, 2) +
           "MTrk" + bigEndian(static_cast<std::uint32_t>(track.size()), 4) + track;
}

HostProgram::HostProgram() {
    std::filesystem::create_directories(path("data"));
    std::filesystem::create_symlink(kSoundFont, path("data/font.sf2"));
}

Outcome HostProgram::runInterrupted(const std::vector<std::string>& arguments, int signal,
                                    int after) const {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const std::string files[] = {path("stdin"), path("stdout"), path("stderr")};
    for (int i = 0; i < 3; ++i)
        posix_spawn_file_actions_addopen(&actions, i, files[i].c_str(),
                                         i == 0 ? O_RDONLY | O_CREAT : O_WRONLY | O_CREAT | O_TRUNC,
                                         0600);
    std::vector<std::string> words = {VELNOR_HOST_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0)
        throw std::runtime_error(words[0]); // no process, and so none to signal
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

Outcome HostProgram::run(const std::vector<std::string>& arguments,
                         const std::string& input) const {
    WriteFile(path("stdin"), input);
    return runInterrupted(arguments, 0, 0);
}

Outcome HostProgram::install(const std::string& engine) const {
    const std::string bundles = VELNOR_BUNDLE_DIR;
    return run({"install", bundles + "/Velnor.component", "--engine",
                bundles + "/" + engine + ".engine", "--data", path("data"), "--write-setup"});
}

std::string HostProgram::song(const std::string& bytes, const std::string& name) const {
    return WriteFile(path(name), bytes);
}

std::vector<std::string> HostProgram::filesLike(const std::string& start) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(home.Root()))
        if (entry.path().filename().string().starts_with(start))
            names.push_back(entry.path().filename());
    return names;
}

} // namespace velnor::test
