// The card and check reader on a serial port through Qt SerialPort. This file only moves bytes
// and runs timers; what the bytes mean is platform/MicrProtocol.
#include "platform/Adapters.h"
#include "platform/Limits.h"
#include "platform/MicrProtocol.h"
#include "platform/MicrReader.h"
#include "platform/SerialPortNames.h"

#include <QFile>
#include <QObject>
#include <QSerialPort>
#include <QTimer>
#include <stdexcept>

namespace station {

namespace {

struct LineSettings {
    qint32 baud = 115200;
    QSerialPort::Parity parity = QSerialPort::NoParity;
    QSerialPort::DataBits dataBits = QSerialPort::Data8;
    QSerialPort::StopBits stopBits = QSerialPort::OneStop;
};

// "57600,N,8,1": baud, parity letter, data bits, stop bits.
LineSettings parseLineSettings(const std::string& value) {
    const auto parts = QString::fromStdString(value).split(QLatin1Char(','));
    bool ok = parts.size() == 4;
    LineSettings s;
    if (ok)
        s.baud = parts[0].trimmed().toInt(&ok);
    const auto parity = ok ? parts[1].trimmed().toUpper() : QString();
    if (parity == QStringLiteral("N"))
        s.parity = QSerialPort::NoParity;
    else if (parity == QStringLiteral("E"))
        s.parity = QSerialPort::EvenParity;
    else if (parity == QStringLiteral("O"))
        s.parity = QSerialPort::OddParity;
    else if (parity == QStringLiteral("M"))
        s.parity = QSerialPort::MarkParity;
    else if (parity == QStringLiteral("S"))
        s.parity = QSerialPort::SpaceParity;
    else
        ok = false;
    const int data = ok ? parts[2].trimmed().toInt(&ok) : 0;
    if (ok && data >= 5 && data <= 8)
        s.dataBits = static_cast<QSerialPort::DataBits>(data);
    else
        ok = false;
    const auto stop = ok ? parts[3].trimmed() : QString();
    if (stop == QStringLiteral("1"))
        s.stopBits = QSerialPort::OneStop;
    else if (stop == QStringLiteral("1.5"))
        s.stopBits = QSerialPort::OneAndHalfStop;
    else if (stop == QStringLiteral("2"))
        s.stopBits = QSerialPort::TwoStop;
    else
        ok = false;
    if (!ok || s.baud <= 0)
        throw std::invalid_argument("line settings \"" + value + "\" are not baud,parity,data bits,stop bits");
    return s;
}

class QtMicrReader final : public QObject, public MicrReader {
public:
    QtMicrReader() {
        m_settle.setSingleShot(true);
        m_image.setSingleShot(true);
        m_settle.setInterval(limits::readerSettle);
        m_image.setInterval(limits::readerImageStall);
        connect(&m_port, &QSerialPort::readyRead, this, &QtMicrReader::bytesArrived);
        connect(&m_port, &QSerialPort::errorOccurred, this, &QtMicrReader::portFailed);
        connect(&m_settle, &QTimer::timeout, this, [this] { act(m_receiver.timeUp()); });
        connect(&m_image, &QTimer::timeout, this, [this] { act(m_receiver.timeUp()); });
    }

    void setSetting(const std::string& name, const std::string& value) override {
        if (name == "CommPort")
            m_portName = "COM" + value;
        else if (name == "Settings")
            m_line = parseLineSettings(value);
        else
            throw std::invalid_argument("the reader has no setting \"" + name + "\"");
    }

    bool open() override {
        close();
        m_error.clear();
        const auto path = systemSerialDevicePath(m_portName);
        if (!path) {
            m_error = m_portName + ": no such serial port";
            return false;
        }
        m_port.setPortName(QString::fromStdString(*path));
        if (!m_port.open(QIODevice::ReadWrite)) {
            m_error = m_portName + " (" + *path + "): " + m_port.errorString().toStdString();
            return false;
        }
        m_port.setBaudRate(m_line.baud);
        m_port.setParity(m_line.parity);
        m_port.setDataBits(m_line.dataBits);
        m_port.setStopBits(m_line.stopBits);
        m_port.setFlowControl(QSerialPort::NoFlowControl);
        m_path = *path;
        return true;
    }

    std::string error() const override { return m_error; }

    void command(const std::string& text) override { write(micr::commandBytes(text)); }
    void start(const std::string& argument) override {
        m_receiver.reset();
        write(micr::startBytes(argument));
    }
    void onReadComplete(std::function<void()> handler) override { m_complete = std::move(handler); }
    void onFault(std::function<void(const std::string&)> handler) override { m_fault = std::move(handler); }

    std::string track(int number) override {
        return number >= 1 && number <= 3 ? m_last.tracks[static_cast<std::size_t>(number - 1)] : std::string();
    }
    std::string micrLine() override { return m_last.micrLine; }

    int saveImage(const std::string& path) override {
        if (!m_last.check || !m_last.image)
            return 1;
        QFile file(QString::fromStdString(path));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 2;
        const auto& image = *m_last.image;
        const auto written = file.write(image.data(), static_cast<qint64>(image.size()));
        return written == static_cast<qint64>(image.size()) ? 0 : 2;
    }

    void close() override {
        m_settle.stop();
        m_image.stop();
        if (m_port.isOpen())
            m_port.close();
    }

private:
    void write(const std::string& bytes) {
        if (m_port.isOpen())
            m_port.write(bytes.data(), static_cast<qint64>(bytes.size()));
    }

    void bytesArrived() { act(m_receiver.feed(m_port.readAll().toStdString())); }

    void act(micr::Receiver::Action action) {
        using Action = micr::Receiver::Action;
        switch (action) {
        case Action::None:
            break;
        case Action::Settle:
            m_settle.start();
            break;
        case Action::RequestImage:
            write(micr::imageRequestBytes());
            m_image.start();
            break;
        case Action::ImageMoving:
            m_image.start();
            break;
        case Action::Complete:
            m_settle.stop();
            m_image.stop();
            m_last = m_receiver.read();
            // The handler shows message boxes: it runs from the event loop, not inside readyRead.
            QTimer::singleShot(0, this, [this] {
                if (m_complete)
                    m_complete();
            });
            break;
        }
    }

    void portFailed(QSerialPort::SerialPortError code) {
        // Errors while opening are open()'s to report; these are the open port's.
        if (code == QSerialPort::NoError || !m_port.isOpen() || code == QSerialPort::TimeoutError)
            return;
        m_error = m_portName + " (" + m_path + "): " + m_port.errorString().toStdString();
        close();
        QTimer::singleShot(0, this, [this, reason = m_error] {
            if (m_fault)
                m_fault(reason);
        });
    }

    QSerialPort m_port;
    QTimer m_settle, m_image;
    std::string m_portName = "COM1";
    std::string m_path;
    LineSettings m_line;
    std::string m_error;
    micr::Receiver m_receiver;
    micr::Read m_last;
    std::function<void()> m_complete;
    std::function<void(const std::string&)> m_fault;
};

} // namespace

std::unique_ptr<MicrReader> makeMicrReader() {
    return std::make_unique<QtMicrReader>();
}

} // namespace station
