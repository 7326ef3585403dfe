/* Environment variables changed for the length of a scope. */
#ifndef VELNOR_PLATFORM_TESTS_SCOPEDENV_H
#define VELNOR_PLATFORM_TESTS_SCOPEDENV_H

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace velnor::test {

/* Sets the variable (null: removes it) and puts its old value back at the end. Not while another
 * thread reads the environment. */
class ScopedEnv {
public:
    ScopedEnv(std::string name, const char* value) : mName(std::move(name)) {
        if (const char* old = std::getenv(mName.c_str()))
            mOld = old;
        Put(value);
    }
    ~ScopedEnv() { Put(mOld ? mOld->c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void Put(const char* value) {
        if (value)
            setenv(mName.c_str(), value, 1);
        else
            unsetenv(mName.c_str());
    }

    std::string mName;
    std::optional<std::string> mOld;
};

} // namespace velnor::test

#endif
