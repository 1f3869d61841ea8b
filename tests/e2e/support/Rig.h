#pragma once
// What most end-to-end rigs share: waiting with events running, a file read whole, and (from
// FakePorts.h) portsOver, a port bundle with the rig's real adapters over the fakes.
#include "tests/support/FakePorts.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <stdexcept>

namespace station::test {

/// Runs events until `done` holds; false when `ms` passed first.
template <typename Done> bool waitUntil(Done done, int ms = 15'000) {
    QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

/// The file's bytes, empty when it cannot be read.
inline QByteArray fileBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

/// Writes `bytes` to `path` whole, making its folder first; throws (failing the test) when it cannot.
inline void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

} // namespace station::test
