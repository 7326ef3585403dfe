#include "engines/probe/CallText.h"

#include <sstream>

namespace velnor::probe {

namespace {

std::string hexOf(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

} // namespace

std::string textOf(const Call& call) {
    std::ostringstream line;
    line << call.words[1] << " " << call.words[0] << std::hex;
    for (std::size_t i = 2; i < call.words.size(); ++i) {
        line << " " << static_cast<std::uintptr_t>(call.words[i]);
    }
    line << std::dec << " = " << call.result;
    for (const std::string& bytes : call.bytes) {
        line << " |" << (bytes.empty() ? "" : " ") << hexOf(bytes);
    }
    return line.str();
}

} // namespace velnor::probe
