#include "host/frmFileSelection.h"

#include "core/StationIdentity.h"
#include "host/DocumentPrinting.h"
#include "host/TaskLine.h"

#include <QLabel>
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
    // No other job is known to this build: show the line briefly and close.
    QTimer::singleShot(1500, this, &QDialog::accept);
}

} // namespace station
