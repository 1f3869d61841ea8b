// While the station waits on a peer its window keeps painting, but what the user clicks waits
// until the result is in: the program's order of events stays the one its rules give. Checked
// with real X button events on a virtual display, against a control click outside any wait.
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/XProbe.h"

#include <QThread>
#include <gtest/gtest.h>

namespace station::test {
namespace {

TEST(HeldInput, AClickDuringAWaitIsTakenOnlyAfterTheWait) {
    VirtualDisplay x;
    ASSERT_FALSE(x.display().isEmpty()) << "Xvfb did not start";
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), x.display());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    PeerProcess probe;
    probe.start(binDir() + QStringLiteral("/held_input_probe"), {}, env);
    ASSERT_FALSE(probe.waitForOutput(QStringLiteral("shown")).isEmpty()) << probe.output().toStdString();

    XProbe display(x.display());
    XProbe::Window window = 0;
    for (int i = 0; i < 100 && !window; ++i, QThread::msleep(50))
        window = display.find("held input probe");
    ASSERT_NE(window, 0u);

    // The control: outside a wait the click is taken at once, so the events do reach the button.
    display.click(window, 100, 50);
    ASSERT_FALSE(probe.waitForOutput(QStringLiteral("click idle"), 5000).isEmpty()) << probe.output().toStdString();
    ASSERT_FALSE(probe.waitForOutput(QStringLiteral("waiting"), 5000).isEmpty());
    display.click(window, 100, 50);
    ASSERT_FALSE(probe.waitForOutput(QStringLiteral("click after wait"), 5000).isEmpty())
        << probe.output().toStdString();
    const QString out = probe.output();
    EXPECT_FALSE(out.contains(QStringLiteral("click during wait"))) << out.toStdString();
    EXPECT_LT(out.indexOf(QStringLiteral("wait over")), out.indexOf(QStringLiteral("click after wait")))
        << out.toStdString();
}

} // namespace
} // namespace station::test
