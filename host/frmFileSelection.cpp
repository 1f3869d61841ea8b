#include "host/frmFileSelection.h"

#include "core/StationIdentity.h"
#include "host/DocumentPrinting.h"
#include "host/FileTask.h"
#include "host/TaskLine.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace station {

frmFileSelection::frmFileSelection(std::string taskLine, Ports& ports, const StationConfig& config,
                                   const ServiceClient& service, QWidget* parent)
    : QDialog(parent), m_taskLine(std::move(taskLine)), m_ports(ports), m_config(config), m_service(service) {
    setObjectName(QStringLiteral("frmFileSelection"));
    setWindowTitle(QStringLiteral("VORNE Terminal"));
    auto* layout = new QVBoxLayout(this);
    lblTask = new QLabel(QString::fromStdString(m_taskLine), this);
    lblTask->setObjectName(QStringLiteral("lblTask"));
    layout->addWidget(lblTask);

    Command1 = new QPushButton(this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setMinimumSize(320, 120);
    // A flat button paints its background colour, as the prompt needs.
    Command1->setFlat(true);
    Command1->setAutoFillBackground(true);
    // The prompt is never the dialog's default button: an Enter meant for the wedge's box would
    // otherwise click it, and a click is a cancel.
    Command1->setAutoDefault(false);
    Command1->hide();
    layout->addWidget(Command1);
    connect(Command1, &QPushButton::clicked, this, &frmFileSelection::Command1_Click);

    txtCCInfo = new QLineEdit(this);
    txtCCInfo->setObjectName(QStringLiteral("txtCCInfo"));
    txtCCInfo->hide();
    layout->addWidget(txtCCInfo);
    cmdEndCC = new QPushButton(QStringLiteral("OK"), this);
    cmdEndCC->setObjectName(QStringLiteral("cmdEndCC"));
    cmdEndCC->setAutoDefault(false);
    cmdEndCC->hide();
    layout->addWidget(cmdEndCC);
    connect(cmdEndCC, &QPushButton::clicked, this, &frmFileSelection::cmdEndCC_Click);
    // A wedge ends what it types with Enter.
    connect(txtCCInfo, &QLineEdit::returnPressed, this, &frmFileSelection::cmdEndCC_Click);

    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    connect(Timer1, &QTimer::timeout, this, &frmFileSelection::Timer1_Timer);
}

frmFileSelection::~frmFileSelection() {
    m_ports.micrReader.onReadComplete({});
    m_ports.micrReader.onFault({});
}

void frmFileSelection::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (m_started)
        return;
    m_started = true;
    // The job runs once the window is up, so its message boxes have a window to belong to.
    QTimer::singleShot(0, this, &frmFileSelection::Form_Load);
}

void frmFileSelection::Form_Load() {
    const auto line = parseTaskLine(m_taskLine);
    if (printTaskKind(line.task)) {
        DocumentPrinting printing({m_service, m_ports.http, m_ports.textPrinter, m_ports.spooler, m_ports.dialogs},
                                  m_config.reportsUrl);
        runPrintTask(line, printing, m_service, stationIdentity(m_ports.adapters.list()), m_ports.dialogs);
        accept();
        return;
    }
    if (runFileTask(line, m_ports.dialogs) || (line.task != 3 && line.task != 4)) {
        accept();
        return;
    }
    m_reader = std::make_unique<ReaderTask>(
        line, ReaderTask::Peers{m_ports.micrReader, m_ports.dialogs, m_ports.yield, m_service},
        stationIdentity(m_ports.adapters.list()), *this, m_config.readerWaitMs);
    m_ports.micrReader.onReadComplete([this] { m_reader->readComplete(); });
    m_ports.micrReader.onFault([this](const std::string& reason) { m_reader->readerFault(reason); });
    m_reader->start();
}

void frmFileSelection::Command1_Click() {
    if (m_reader)
        m_reader->cancel();
}

void frmFileSelection::Timer1_Timer() {
    if (m_reader)
        m_reader->timeOut();
}

void frmFileSelection::cmdEndCC_Click() {
    if (m_reader)
        m_reader->wedgeEntered(txtCCInfo->text().toStdString());
}

void frmFileSelection::reject() {
    if (m_reader)
        m_reader->cancel();
    else
        QDialog::reject();
}

void frmFileSelection::showPrompt(const std::string& caption, PromptColour colour) {
    Command1->setText(QString::fromStdString(caption));
    auto palette = Command1->palette();
    palette.setColor(QPalette::Button, colour == PromptColour::Yellow ? Qt::yellow : Qt::green);
    Command1->setPalette(palette);
    Command1->show();
    // A wedge types into whatever has the focus: while its read is pending the box keeps it,
    // else a blank or the closing Enter would reach the prompt and cancel the read.
    if (!m_wedgePending)
        Command1->setFocus();
}

void frmFileSelection::showWedgeBox() {
    m_wedgePending = true;
    // The box is the only control the keyboard reaches, so not even a Tab a wedge may send
    // between tracks moves the typing elsewhere. A click on the prompt still cancels.
    Command1->setFocusPolicy(Qt::NoFocus);
    cmdEndCC->setFocusPolicy(Qt::NoFocus);
    txtCCInfo->clear();
    txtCCInfo->show();
    cmdEndCC->show();
    txtCCInfo->setFocus();
}

void frmFileSelection::armTimeout(int milliseconds) {
    Timer1->start(milliseconds);
}

void frmFileSelection::stopTimeout() {
    Timer1->stop();
}

void frmFileSelection::finish() {
    Timer1->stop();
    accept();
}

} // namespace station
