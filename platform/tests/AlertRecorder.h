/* Alerts caught instead of shown. */
#ifndef VELNOR_PLATFORM_TESTS_ALERTRECORDER_H
#define VELNOR_PLATFORM_TESTS_ALERTRECORDER_H

#include "platform/Alerts.h"

#include <array>
#include <string>
#include <vector>

namespace velnor::test {

/* While it lives, every alert of the process is written down and answered at once. Recorders nest:
 * the innermost one answers; when the outermost goes, the default presenter is back. */
class AlertRecorder {
public:
    struct Alert {
        SInt16 level;
        std::string header;
        std::string message;
        std::array<std::string, 3> buttons; /* empty for none */
    };

    AlertRecorder() : mOuter(sCurrent) { Install(this); }
    ~AlertRecorder() { Install(mOuter); }
    AlertRecorder(const AlertRecorder&) = delete;
    AlertRecorder& operator=(const AlertRecorder&) = delete;

    /* What the following alerts are answered: a button's index, or below 0 for "cannot be shown".
     */
    void Answer(SInt32 button) { mAnswer = button; }
    const std::vector<Alert>& Alerts() const { return mAlerts; }
    void Clear() { mAlerts.clear(); }

private:
    static void Install(AlertRecorder* recorder) {
        sCurrent = recorder;
        PlatformSetAlertPresenter(recorder ? &Record : nullptr, recorder);
    }
    static SInt32 Record(const PlatformAlert* alert, void* context) {
        auto* recorder = static_cast<AlertRecorder*>(context);
        Alert copy{alert->level, alert->header, alert->message, {}};
        for (size_t i = 0; i < copy.buttons.size(); ++i)
            if (alert->buttons[i])
                copy.buttons[i] = alert->buttons[i];
        recorder->mAlerts.push_back(copy);
        return recorder->mAnswer;
    }

    inline static AlertRecorder* sCurrent = nullptr;
    AlertRecorder* mOuter;
    SInt32 mAnswer = 0;
    std::vector<Alert> mAlerts;
};

} // namespace velnor::test

#endif
