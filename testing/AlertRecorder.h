// Alerts caught instead of shown.
#ifndef VELNOR_TESTING_ALERTRECORDER_H
#define VELNOR_TESTING_ALERTRECORDER_H

#include "platform/Alerts.h"

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace velnor::testing {

// While it lives, every alert of the process is written down and answered at once. One at a time.
class AlertRecorder {
public:
    struct Alert {
        SInt16 level;
        std::string header;
        std::string message;
        std::array<std::string, 3> buttons; // empty for none
    };

    AlertRecorder() { PlatformSetAlertPresenter(&Record, this); }
    ~AlertRecorder() { PlatformSetAlertPresenter(nullptr, nullptr); }
    AlertRecorder(const AlertRecorder&) = delete;
    AlertRecorder& operator=(const AlertRecorder&) = delete;

    // What the following alerts are answered: a button's index, or below 0 for "cannot be shown".
    void Answer(SInt32 button) { mAnswer = button; }
    void WhenShown(std::function<void()> act) { mWhenShown = std::move(act); }
    const std::vector<Alert>& Alerts() const { return mAlerts; }
    void Clear() { mAlerts.clear(); }

private:
    static SInt32 Record(const PlatformAlert* alert, void* context) {
        auto* recorder = static_cast<AlertRecorder*>(context);
        Alert copy{alert->level, alert->header, alert->message, {}};
        for (size_t i = 0; i < copy.buttons.size(); ++i) {
            if (alert->buttons[i]) {
                copy.buttons[i] = alert->buttons[i];
            }
        }
        recorder->mAlerts.push_back(copy);
        recorder->mWhenShown();
        return recorder->mAnswer;
    }

    SInt32 mAnswer = 0;
    std::function<void()> mWhenShown = [] {};
    std::vector<Alert> mAlerts;
};

} // namespace velnor::testing

#endif
