// A home of its own for a test, so that nothing touches the user's.
#ifndef VELNOR_TESTING_TEMPHOME_H
#define VELNOR_TESTING_TEMPHOME_H

#include "testing/AlertRecorder.h"
#include "testing/TempFolder.h"

#include <optional>
#include <utility>

namespace velnor::testing {

// Sets the variable (null: removes it) and puts its old value back at the end. Not while another
// thread reads the environment.
class ScopedEnv {
public:
    ScopedEnv(std::string name, const char* value) : mName(std::move(name)) {
        if (const char* old = std::getenv(mName.c_str())) {
            mOld = old;
        }
        Put(value);
    }
    ~ScopedEnv() { Put(mOld ? mOld->c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void Put(const char* value) {
        if (value) {
            setenv(mName.c_str(), value, 1);
        } else {
            unsetenv(mName.c_str());
        }
    }

    std::string mName;
    std::optional<std::string> mOld;
};

// HOME and the XDG_* variables point below one temporary folder; all are restored, and the folder
// removed, at the end.
//   DataHome    the application-support folder; exists
//   ConfigHome  the user's preferences; does not exist until something is written
//   ConfigDirs, DataDirs  the system's, one folder each; exist
class TempHome {
public:
    TempHome() {
        for (const std::string& folder : {Home(), DataHome(), ConfigDirs(), DataDirs()}) {
            std::filesystem::create_directories(folder);
        }
    }

    const std::string& Root() const { return mRoot.Path(); }
    std::string Home() const { return mRoot / "home"; }
    std::string DataHome() const { return Home() + "/.local/share"; }
    std::string ConfigHome() const { return Home() + "/.config"; }
    std::string ConfigDirs() const { return mRoot / "etc/xdg"; }
    std::string DataDirs() const { return mRoot / "usr/share"; }

private:
    TempFolder mRoot;
    ScopedEnv mHomeVariable{"HOME", Home().c_str()};
    ScopedEnv mDataHomeVariable{"XDG_DATA_HOME", DataHome().c_str()};
    ScopedEnv mConfigHomeVariable{"XDG_CONFIG_HOME", ConfigHome().c_str()};
    ScopedEnv mConfigDirsVariable{"XDG_CONFIG_DIRS", ConfigDirs().c_str()};
    ScopedEnv mDataDirsVariable{"XDG_DATA_DIRS", DataDirs().c_str()};
};

} // namespace velnor::testing

#endif
