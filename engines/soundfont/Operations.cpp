#include "engines/soundfont/Operations.h"

#include "engines/soundfont/Editor.h"
#include "engines/soundfont/EngineLog.h"
#include "engines/soundfont/HandleTable.h"
#include "engines/soundfont/Instance.h"

#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace velnor::soundfont {

namespace {

constexpr char kVersionText[] = VELNOR_VERSION;
static_assert(sizeof kVersionText <= kOrmoVersionTextSize);

constexpr uint32_t kMostHandles = 4096; // of each kind

template <class Object>
using Handles = HandleTable<Object, kMostHandles>;

constinit Handles<Instance> gInstances;
constinit Handles<Editor> gEditors;

template <class T>
T* address(OrmoWord slot) VELNOR_NONBLOCKING {
    return std::bit_cast<T*>(slot);
}

uint32_t handle(OrmoWord slot) VELNOR_NONBLOCKING {
    return static_cast<uint32_t>(slot);
}

template <class Call>
Result withInstance(const Slots& slots, Call call) {
    const auto instance = gInstances.pin(handle(slots.target));
    return instance ? call(*instance.operator->()) : kUnknownHandle;
}

template <class Call>
Result withEditor(OrmoWord slot, Call call) {
    const auto editor = gEditors.pin(handle(slot));
    return editor ? call(*editor.operator->()) : kUnknownHandle;
}

template <class Object>
uint32_t insert(Handles<Object>& table, std::unique_ptr<Object> object, const char* kind) {
    const uint32_t inserted = table.insert(std::move(object));
    if (inserted == 0) {
        throw std::runtime_error("no more than " + std::to_string(kMostHandles) + " " + kind +
                                 " can be open at once");
    }
    return inserted;
}

Result getVersion(const Slots& slots) {
    if (slots.ptr1 == 0) {
        return kBadArgument;
    }
    std::memcpy(address<char>(slots.ptr1), kVersionText, sizeof kVersionText);
    return kDone;
}

Result openInstance(const Slots& slots) {
    if (slots.ptr1 == 0 || slots.ptr2 == 0) {
        return kBadArgument;
    }
    auto instance = Instance::open(*address<const EngineOpenBlock>(slots.ptr1));
    *address<OrmoEngineHandle>(slots.ptr2) = insert(gInstances, std::move(instance), "instances");
    return kDone;
}

Result closeInstance(const Slots& slots) {
    return gInstances.remove(handle(slots.target)) ? kDone : kUnknownHandle;
}

Result setRateAndBlockSize(const Slots& slots) {
    return withInstance(slots, [&](Instance& instance) {
        return instance.setRate(static_cast<int32_t>(slots.val1));
    });
}

Result suspend(const Slots& slots) {
    return withInstance(slots, [](Instance& instance) { return instance.suspend(); });
}

Result resume(const Slots& slots) {
    return withInstance(slots,
                        [&](Instance& instance) { return instance.resume(slots.val1 != 0); });
}

Result getChunk(const Slots& slots) {
    return withInstance(slots, [&](Instance& instance) {
        if (slots.ptr1 == 0 || slots.ptr2 == 0) {
            return kBadArgument;
        }
        const std::vector<uint8_t>& chunk = instance.chunk();
        *address<const void*>(slots.ptr1) = chunk.data();
        *address<int32_t>(slots.ptr2) = static_cast<int32_t>(chunk.size());
        return kDone;
    });
}

Result setChunk(const Slots& slots) {
    return withInstance(slots, [&](Instance& instance) {
        const auto size = static_cast<int32_t>(slots.val1);
        if (slots.ptr1 == 0 || size < 0) {
            return kBadArgument;
        }
        return instance.setChunk(address<const uint8_t>(slots.ptr1), static_cast<size_t>(size));
    });
}

Result vendorProperty(const Slots& slots) {
    return withInstance(slots, [&](Instance& instance) {
        return slots.ptr1 == 0 ? kBadArgument
                               : instance.property(handle(slots.val1), address<void>(slots.ptr1));
    });
}

Result setAttached(const Slots& slots, bool isAttached) {
    return withEditor(slots.ptr1, [&](Editor& editor) {
        if (editor.engine() != handle(slots.target)) {
            return kRefused;
        }
        editor.setAttached(isAttached);
        return kDone;
    });
}

Result editorCreate(const Slots& slots) {
    if (slots.ptr2 == 0) {
        return kBadArgument;
    }
    const uint32_t engine = handle(slots.ptr3);
    if (!gInstances.pin(engine)) {
        return kUnknownHandle;
    }
    *address<OrmoEditorHandle>(slots.ptr2) =
        insert(gEditors, std::make_unique<Editor>(engine), "editors");
    return kDone;
}

Result editorDestroy(const Slots& slots) {
    return gEditors.remove(handle(slots.target)) ? kDone : kUnknownHandle;
}

Result editorOpen(const Slots& slots) {
    return withEditor(slots.target,
                      [](Editor& editor) { return editor.open() ? kDone : kNotAvailable; });
}

Result editorGetView(const Slots& slots) {
    return withEditor(slots.target, [&](Editor& editor) {
        if (slots.ptr1 == 0) {
            return kBadArgument;
        }
        *address<ControlRef>(slots.ptr1) = editor.view();
        return kDone;
    });
}

Result editorIdle(const Slots& slots) {
    return withEditor(slots.target, [](Editor& editor) {
        const auto instance = gInstances.pin(editor.engine());
        if (!instance || !editor.isAttached()) {
            editor.show(nullptr);
            return kDone;
        }
        const InstanceStatus status = instance->status();
        editor.show(&status);
        return kDone;
    });
}

bool isProcessable(const Slots& slots) VELNOR_NONBLOCKING {
    return slots.ptr1 != 0 && slots.ptr2 != 0 && slots.val1 >= 0 &&
           slots.val1 <= std::numeric_limits<int32_t>::max();
}

} // namespace

Result operate(uint32_t opcode, const Slots& slots) {
    switch (opcode) {
    case kOpGetVersion:
        return getVersion(slots);
    case kOpOpenInstance:
        return openInstance(slots);
    case kOpCloseInstance:
        return closeInstance(slots);
    case kOpSetRateAndBlockSize:
        return setRateAndBlockSize(slots);
    case kOpSuspend:
        return suspend(slots);
    case kOpResume:
        return resume(slots);
    case kOpGetChunk:
        return getChunk(slots);
    case kOpSetChunk:
        return setChunk(slots);
    case kOpAttachEditor:
        return setAttached(slots, true);
    case kOpDetachEditor:
        return setAttached(slots, false);
    case kOpEditorCreate:
        return editorCreate(slots);
    case kOpEditorDestroy:
        return editorDestroy(slots);
    case kOpEditorOpen:
        return editorOpen(slots);
    case kOpEditorIdle:
        return editorIdle(slots);
    case kOpEditorGetView:
        return editorGetView(slots);
    case kOpVendorProperty:
        return vendorProperty(slots);
    default:
        return kUnknownOpcode;
    }
}

Result process(const Slots& slots) VELNOR_NONBLOCKING {
    const auto instance = gInstances.pin(handle(slots.target));
    if (!instance) {
        return kUnknownHandle;
    }
    if (!isProcessable(slots)) {
        return kBadArgument;
    }
    return instance->process(*address<const MIDIEventBlock>(slots.ptr1),
                             address<float* const>(slots.ptr2), static_cast<uint32_t>(slots.val1));
}

} // namespace velnor::soundfont
