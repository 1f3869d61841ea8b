#include "tests/e2e/wine/WineSession.h"

#include "tests/e2e/support/Rig.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

namespace station::test {

QString windowsBuild() {
    return qEnvironmentVariable("STATION_WINDOWS_BUILD");
}

QString winePrefix() {
    return windowsBuild() + QStringLiteral("/wine/prefix");
}

QString wineRun() {
    return QStringLiteral(STATION_SOURCE_DIR "/cmake/wine-run");
}

QString wineName(const QString& path) {
    return QStringLiteral("Z:") + QDir::toNativeSeparators(path).replace(QLatin1Char('/'), QLatin1Char('\\'));
}

QString run(const QString& program, const QStringList& args) {
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(60'000) || p.exitCode() != 0)
        return {};
    return QString::fromLocal8Bit(p.readAllStandardOutput());
}

namespace {
const QString session = QStringLiteral(STATION_SOURCE_DIR "/cmake/wine-session");
}

WineSession::WineSession() {
    if (run(session, {QStringLiteral("start"), winePrefix()}).isEmpty())
        return;
    m_display =
        QLatin1Char(':') + QString::fromLatin1(fileBytes(winePrefix() + QStringLiteral(".session/display"))).trimmed();
    m_x = std::make_unique<XProbe>(m_display);
}

WineSession::~WineSession() {
    // The test's own X connection first: Xlib ends a process whose display goes away.
    m_x.reset();
    run(session, {QStringLiteral("stop"), winePrefix()});
}

QProcessEnvironment WineSession::displayEnv() const {
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), m_display);
    return env;
}

bool WineSession::xdo(const QStringList& args) const {
    QProcess p;
    p.setProcessEnvironment(displayEnv());
    p.start(QStringLiteral("xdotool"), args);
    return p.waitForFinished(10'000) && p.exitCode() == 0;
}

XProbe::Window WineSession::waitForWindow(const QString& title, int ms) const {
    XProbe::Window found = 0;
    waitUntil([&] { return (found = m_x->find(title.toStdString())) != 0; }, ms);
    return found;
}

bool WineSession::press(XProbe::Window window, const QStringList& keys) const {
    if (!xdo({QStringLiteral("windowfocus"), QStringLiteral("--sync"), QString::number(window)}))
        return false;
    QThread::msleep(300);
    return xdo(QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("120")} + keys);
}

bool WineSession::typeText(const QString& text) const {
    return xdo({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("40"), text});
}

XProbe::Window WineSession::fileDialog() const {
    QProcess p;
    p.setProcessEnvironment(displayEnv());
    p.start(QStringLiteral("xdotool"),
            {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"), QStringLiteral("^$"),
             QStringLiteral("getwindowgeometry"), QStringLiteral("%@")});
    p.waitForFinished(10'000);
    static const QRegularExpression geometry(
        QStringLiteral("Window (\\d+)\\s+Position: [^\\n]*\\s+Geometry: (\\d+)x(\\d+)"));
    for (auto it = geometry.globalMatch(QString::fromLatin1(p.readAllStandardOutput())); it.hasNext();) {
        const auto m = it.next();
        const auto width = m.captured(2).toInt();
        if (width >= 300 && width < 1280 && m.captured(3).toInt() >= 200)
            return m.captured(1).toULong();
    }
    return 0;
}

bool WineSession::chooseInFileDialog(const QString& name) const {
    // Keys typed before the name box has the keyboard are lost, which a busy machine makes likely;
    // so each try clicks into the box (Wine lays it out at the dialog's lower right, 660 x 450 on a
    // new prefix, and gives its label no accelerator) and types the whole name over what is there.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto dialog = fileDialog();
        if (dialog == 0)
            return true;
        if (!xdo({QStringLiteral("windowfocus"), QStringLiteral("--sync"), QString::number(dialog)}) ||
            !xdo({QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(dialog),
                  QString::number(380), QString::number(409), QStringLiteral("click"), QStringLiteral("1")}))
            return false;
        QThread::msleep(300);
        if (!xdo({QStringLiteral("key"), QStringLiteral("End"), QStringLiteral("shift+Home")}) || !typeText(name) ||
            !xdo({QStringLiteral("key"), QStringLiteral("Return")}))
            return false;
        if (waitUntil([this] { return fileDialog() == 0; }, 10'000))
            return true;
        // A half-typed name brings the dialog's own "not found" box up in front: it is answered
        // before the next try.
        QProcess focus;
        focus.setProcessEnvironment(displayEnv());
        focus.start(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")});
        focus.waitForFinished(10'000);
        if (focus.readAllStandardOutput().trimmed().toULong() != fileDialog())
            xdo({QStringLiteral("key"), QStringLiteral("Return")});
    }
    return fileDialog() == 0;
}

bool WineSession::doubleClick(XProbe::Window window, int x, int y) const {
    return xdo({QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(window), QString::number(x),
                QString::number(y), QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("2"),
                QStringLiteral("--delay"), QStringLiteral("80"), QStringLiteral("1")});
}

void WineSession::screenshot(const QString& name) const {
    QTemporaryDir dir;
    const auto dump = dir.filePath(QStringLiteral("screen.xwd"));
    QProcess xwd;
    xwd.setProcessEnvironment(displayEnv());
    xwd.setStandardOutputFile(dump);
    xwd.start(QStringLiteral("xwd"), {QStringLiteral("-root"), QStringLiteral("-silent")});
    xwd.waitForFinished(10'000);
    run(QStringLiteral("/usr/bin/convert"), {QStringLiteral("xwd:") + dump, windowsBuild() + QLatin1Char('/') + name});
}

} // namespace station::test
