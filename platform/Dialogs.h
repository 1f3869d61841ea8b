#pragma once
#include <optional>
#include <string>

namespace station {

/// Modal message boxes, input boxes and file dialogs.
class Dialogs {
public:
    enum class Icon { None, Critical, Question, Exclamation, Information };
    enum class Buttons { Ok, OkCancel, YesNo };
    enum class Answer { Ok, Cancel, Yes, No };
    virtual ~Dialogs() = default;
    /// Shows a modal message; no title means the application's title.
    virtual Answer message(const std::string& text, Icon icon = Icon::None, Buttons buttons = Buttons::Ok,
                           const std::optional<std::string>& title = std::nullopt) = 0;
    /// Asks for a line of text; empty when cancelled.
    virtual std::string input(const std::string& prompt) = 0;
    /// File dialogs; empty when cancelled.
    virtual std::string openFile(const std::string& folder, const std::string& filter) = 0;
    virtual std::string saveFile(const std::string& fileName, const std::string& filter) = 0;
};

} // namespace station
