// The default browser through the desktop's URL handler (ShellExecute "open" on Windows).
#include "platform/Adapters.h"
#include "platform/Browser.h"

#include <QDesktopServices>
#include <QUrl>

namespace station {

namespace {

class QtBrowser final : public Browser {
public:
    bool open(const std::string& url) override {
        // Tolerates an address typed without its scheme ("host:8300/ebs.cfm").
        const QUrl target = QUrl::fromUserInput(QString::fromStdString(url));
        return target.isValid() && QDesktopServices::openUrl(target);
    }
};

} // namespace

std::unique_ptr<Browser> makeBrowser() {
    return std::make_unique<QtBrowser>();
}

} // namespace station
