#pragma once
// What every test of the Windows program under Wine needs: where the windows-full build is (the
// environment variable STATION_WINDOWS_BUILD, which the `wine` test preset sets), its Wine prefix,
// and that prefix's Wine server on a display of its own, with the test's hands on it: window
// search (XProbe), key presses and clicks (xdotool), screenshots.
#include "tests/e2e/support/XProbe.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <memory>

namespace station::test {

/// The windows-full build folder (run/, bin/, the installer, the Wine prefix).
QString windowsBuild();
QString winePrefix();
/// cmake/wine-run: runs a Windows program in the prefix, on the session's display if one is up.
QString wineRun();
/// The same file as a Windows program under Wine names it (drive Z: is the Unix root).
QString wineName(const QString& path);
/// Runs a command to its end; its standard output, empty when it failed.
QString run(const QString& program, const QStringList& args);

/// The prefix's Wine server on a fresh Xvfb display, for the object's life.
class WineSession {
public:
    WineSession();
    ~WineSession();
    WineSession(const WineSession&) = delete;
    WineSession& operator=(const WineSession&) = delete;

    bool started() const { return m_x && m_x->connected(); }
    XProbe& x() { return *m_x; }
    /// xdotool on the session's display; false when it failed.
    bool xdo(const QStringList& args) const;
    /// The first window shown with exactly this title, 0 when none came within `ms`.
    XProbe::Window waitForWindow(const QString& title, int ms = 30'000) const;
    /// Gives the window the keyboard, then presses the keys (xdotool key names).
    bool press(XProbe::Window window, const QStringList& keys) const;
    bool typeText(const QString& text) const;
    /// One of the system's file dialogs on the screen (a window without a title, of a dialog's
    /// size), 0 when there is none.
    XProbe::Window fileDialog() const;
    /// Puts the name into the shown file dialog's name box and accepts it, again if the dialog
    /// stays; true once the dialog is gone.
    bool chooseInFileDialog(const QString& name) const;
    /// Double-clicks at (x, y) inside the window.
    bool doubleClick(XProbe::Window window, int x, int y) const;
    /// The whole screen as a PNG file of that name in the windows-full build folder.
    void screenshot(const QString& name) const;

private:
    QProcessEnvironment displayEnv() const;

    QString m_display;
    std::unique_ptr<XProbe> m_x;
};

} // namespace station::test
