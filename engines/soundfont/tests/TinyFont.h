// The smallest SoundFont that sounds: one preset of one looped sample. A synthesizer with a font of
// real size takes a hundred times the memory for it.
#ifndef VELNOR_ENGINES_SOUNDFONT_TESTS_TINYFONT_H
#define VELNOR_ENGINES_SOUNDFONT_TESTS_TINYFONT_H

#include <cstdint>
#include <initializer_list>
#include <string>

namespace velnor::soundfont {

// Numbers of `width` bytes each, least byte first.
inline std::string numbers(int width, std::initializer_list<uint32_t> values) {
    std::string bytes;
    for (const uint32_t value : values) {
        for (int i = 0; i < width; ++i) {
            bytes += static_cast<char>(value >> (8 * i));
        }
    }
    return bytes;
}

inline std::string riff(const std::string& id, const std::string& content) {
    return id + numbers(4, {static_cast<uint32_t>(content.size())}) + content;
}

inline std::string tinyFont() {
    constexpr uint32_t kPeriod = 100, kSamples = 4 * kPeriod;
    std::string wave;
    for (uint32_t i = 0; i < kSamples; ++i) {
        wave += numbers(2, {i % kPeriod < kPeriod / 2 ? 8000U : 0xFFFFU - 8000U});
    }
    wave.append(2 * 46, '\0'); // as many zeros follow each sample
    const auto name = [](const char* text) {
        std::string padded(text);
        padded.resize(20);
        return padded;
    };
    const std::string none(46, '\0'); // each list ends with a record of its own
    const std::string presets = name("Ti\xF1y") + numbers(2, {0, 0, 0}) + none.substr(0, 12) +
                                name("EOP") + numbers(2, {0, 0, 1}) + none.substr(0, 12);
    const std::string samples = name("Wave") +
                                numbers(4, {0, kSamples, kPeriod, 3 * kPeriod, 44100}) +
                                numbers(2, {60, 0, 1}) + none;
    return riff(
        "RIFF",
        "sfbk" + riff("LIST", "INFO" + riff("ifil", numbers(2, {2, 1}))) +
            riff("LIST", "sdta" + riff("smpl", wave)) +
            riff("LIST",
                 "pdta" + riff("phdr", presets) + riff("pbag", numbers(2, {0, 0, 1, 0})) +
                     riff("pmod", none.substr(0, 10)) +
                     riff("pgen", numbers(2, {41, 0, 0, 0})) + // instrument 0
                     riff("inst", name("Tiny") + numbers(2, {0}) + name("EOI") + numbers(2, {1})) +
                     riff("ibag", numbers(2, {0, 0, 2, 0})) + riff("imod", none.substr(0, 10)) +
                     riff("igen", numbers(2, {54, 1, 53, 0, 0, 0})) + // looped, sample 0
                     riff("shdr", samples)));
}

} // namespace velnor::soundfont

#endif
