// A button on a real X display that waits through the station's Waiter after its first click,
// and says on standard output when each click arrives: during the wait or after it.
#include "platform/Adapters.h"

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <cstdio>

namespace {

void say(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    using namespace std::chrono_literals;
    QApplication app(argc, argv);
    QPushButton button(QStringLiteral("Probe"));
    button.setWindowTitle(QStringLiteral("held input probe"));
    button.setGeometry(0, 0, 200, 100);
    const auto waiter = station::makeWaiter();
    bool waiting = false;
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, &button, [&] {
        ++clicks;
        say(waiting ? "click during wait" : clicks == 1 ? "click idle" : "click after wait");
        if (clicks == 1) {
            QTimer::singleShot(0, &button, [&] {
                station::Completion never;
                waiting = true;
                say("waiting");
                waiter->wait(never, 1500ms);
                waiting = false;
                say("wait over");
            });
        } else {
            QTimer::singleShot(0, &app, &QApplication::quit);
        }
    });
    button.show();
    say("shown");
    return QApplication::exec();
}
