// File references and users for tests.
#ifndef VELNOR_PLATFORM_TESTS_REFS_H
#define VELNOR_PLATFORM_TESTS_REFS_H

#include "platform/FileRef.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace velnor::testing {

// The object at the path, which has to exist.
inline FSRef RefTo(const std::string& path) {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), noErr)
        << path;
    return ref;
}

inline std::string PathOf(const FSRef& ref) {
    return ref.path;
}

inline const UniChar* Units(const std::u16string& text) {
    return reinterpret_cast<const UniChar*>(text.data());
}

// While it lives, file permissions hold for a process of the superuser too.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (mBefore == 0) {
            EXPECT_EQ(seteuid(kNobody), 0);
        }
    }
    ~OrdinaryUser() { EXPECT_EQ(seteuid(mBefore), 0); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t kNobody = 65534;
    uid_t mBefore = geteuid();
};

} // namespace velnor::testing

#endif
