// Parameter blocks as a host may send them to a component: with flags, with more or fewer words
// than the call has arguments, a size that is short of the words, and anything above the bits of a
// narrow argument; through the component manager or past it. Stops the fuzzer at an answer that no
// such block may get.
#ifndef VELNOR_FUZZ_COMPONENTCALLER_H
#define VELNOR_FUZZ_COMPONENTCALLER_H

#include "fuzz/FuzzCheck.h"
#include "fuzz/HostMemory.h"
#include "platform/ComponentParameterBlock.h"

#include <array>
#include <climits>
#include <span>

namespace velnor::fuzz {

// What a component answers to.
struct Selector {
    SInt16 what;
    std::size_t words; // that it reads
    bool canDo = true; // what it says when it is asked
};

struct ComponentTraits {
    std::span<const Selector> selectors;
    ComponentResult version;

    // Null for a selector that the component does not serve.
    const Selector* Find(SInt16 what) const;
};
extern const ComponentTraits kInstrument;
extern const ComponentTraits kView;

// Stops the fuzzer at a status that no selector answers; returns it.
ComponentResult Known(ComponentResult status);

class ComponentCaller {
public:
    // entry is the instance's own.
    ComponentCaller(FuzzedDataProvider& input, const ComponentTraits& traits, ComponentEntry entry,
                    ComponentInstance instance)
        : mInput(input), mTraits(traits), mEntry(entry), mInstance(instance) {}

    // The close selector came past the component manager.
    bool IsGone() const { return GetComponentInstanceStorage(mInstance) == nullptr; }

    // The arguments in the order of the call, each of the type that the selector gives it.
    template <typename... Args>
    ComponentResult Send(SInt16 what, Args... arguments) {
        std::array<uintptr_t, sizeof...(Args)> words{};
        [[maybe_unused]] std::size_t left = words.size();
        ((words[--left] = Word(arguments)), ...);
        return SendWords(what, words);
    }
    // Any selector but the one that closes, its arguments all null.
    void SendNulls();
    // What the component can do and its version, in any way to ask.
    void Ask();
    // No block, or no instance to send it to.
    void SendToNobody();
    // Through the component manager; the last call.
    void Close();

private:
    template <typename T>
    uintptr_t Word(T value) {
        uintptr_t word = toParameterWord(value);
        if constexpr (!std::is_pointer_v<T> && sizeof(T) < sizeof word) {
            constexpr unsigned kBits = sizeof(T) * CHAR_BIT;
            if (OneIn(mInput, 8)) {
                word = (word & ((uintptr_t{1} << kBits) - 1)) | mInput.ConsumeIntegral<uintptr_t>()
                                                                    << kBits;
            }
        }
        return word;
    }
    SInt16 AnySelector();
    ComponentResult SendWords(SInt16 what, std::span<const uintptr_t> words);
    void Check(SInt16 what, std::size_t bytes, ComponentResult result) const;

    FuzzedDataProvider& mInput;
    const ComponentTraits& mTraits;
    const ComponentEntry mEntry;
    const ComponentInstance mInstance;
};

} // namespace velnor::fuzz

#endif
