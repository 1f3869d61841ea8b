#pragma once
// What program updates show on the main window while they check, download and hand over.
#include <cstdint>
#include <string>

namespace station {

class UpdateView {
public:
    virtual ~UpdateView() = default;
    /// The supervision timer: off while a check or a download runs.
    virtual void setTimerEnabled(bool enabled) = 0;
    /// The status bar's message panel (the second one).
    virtual void setStatus(const std::string& text) = 0;
    /// The first toolbar button, disabled while a release is downloaded.
    virtual void setFirstButtonEnabled(bool enabled) = 0;
    virtual void showProgress() = 0;
    virtual bool progressVisible() const = 0;
    virtual void setProgress(float minimum, float maximum, float value) = 0;
    /// Unloads the main window and ends the program at once.
    virtual void endProgram() = 0;
};

} // namespace station
