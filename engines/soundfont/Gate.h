// One of two may be inside. The one that renders does not wait: it is told no.
#ifndef VELNOR_ENGINES_SOUNDFONT_GATE_H
#define VELNOR_ENGINES_SOUNDFONT_GATE_H

#include "platform/Facts.h"

#include <atomic>
#include <thread>

namespace velnor::soundfont {

class Gate {
public:
    // Inside from construction on when it is true. Thread any, nonblocking.
    class TryPass {
    public:
        explicit TryPass(Gate& gate) VELNOR_NONBLOCKING
            : mGate(gate),
              mIsInside(!gate.mIsTaken.exchange(true, std::memory_order_acquire)) {}
        ~TryPass() VELNOR_NONBLOCKING {
            if (mIsInside) {
                mGate.mIsTaken.store(false, std::memory_order_release);
            }
        }
        TryPass(const TryPass&) = delete;
        TryPass& operator=(const TryPass&) = delete;
        explicit operator bool() const VELNOR_NONBLOCKING { return mIsInside; }

    private:
        Gate& mGate;
        bool mIsInside;
    };

    // Inside from construction on; waits for it. Thread any, may block.
    class Pass {
    public:
        explicit Pass(Gate& gate) : mGate(gate) {
            while (gate.mIsTaken.exchange(true, std::memory_order_acquire)) {
                std::this_thread::yield();
            }
        }
        ~Pass() { mGate.mIsTaken.store(false, std::memory_order_release); }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

    private:
        Gate& mGate;
    };

private:
    std::atomic<bool> mIsTaken{false};
};

} // namespace velnor::soundfont

#endif
