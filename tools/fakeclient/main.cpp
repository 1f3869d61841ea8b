// A stand-in for the external telnet client: it opens a window titled as the real client does,
// switches to the connected title after a moment, and records the arguments it was given.
//   FAKECLIENT_ARGS_FILE  file to which argv[1..] are appended, one per line
//   FAKECLIENT_EXIT_MS    end on its own after this many milliseconds (a client that gives up)
//   FAKECLIENT_NO_WINDOW  set: never open a window (a client that hangs before its window)
//   FAKECLIENT_PID_FILE   file to which its process id is appended, so a test can end it
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QTextStream>
#include <QTimer>

namespace {

QString valueOf(const QStringList& args, const QString& flag) {
    for (const auto& a : args)
        if (a.startsWith(flag))
            return a.mid(flag.size());
    return {};
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);

    if (const auto path = qEnvironmentVariable("FAKECLIENT_ARGS_FILE"); !path.isEmpty()) {
        QFile file(path);
        if (file.open(QIODevice::Append | QIODevice::Text)) {
            QTextStream out(&file);
            for (const auto& a : args)
                out << a << '\n';
        }
    }
    if (const auto path = qEnvironmentVariable("FAKECLIENT_PID_FILE"); !path.isEmpty()) {
        QFile file(path);
        if (file.open(QIODevice::Append | QIODevice::Text))
            QTextStream(&file) << QCoreApplication::applicationPid() << '\n';
    }
    if (const auto ms = qEnvironmentVariableIntValue("FAKECLIENT_EXIT_MS"); ms > 0)
        QTimer::singleShot(ms, &app, &QCoreApplication::quit);

    const auto title = QStringLiteral("GS Telnet Client   ") + valueOf(args, QStringLiteral("-h"));
    QLabel window(args.join(QLatin1Char(' ')));
    window.setWindowTitle(title);
    window.resize(480, 200);
    if (!qEnvironmentVariableIsSet("FAKECLIENT_NO_WINDOW")) {
        window.show();
        QTimer::singleShot(500, &window, [&window, &title, &args] {
            window.setWindowTitle(title + QStringLiteral(" x:") + valueOf(args, QStringLiteral("-x")));
        });
    }
    return app.exec();
}
