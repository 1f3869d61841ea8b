#include "host/frmFileSelection.h"

#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

namespace station {

frmFileSelection::frmFileSelection(std::string taskLine, QWidget* parent)
    : QDialog(parent), m_taskLine(std::move(taskLine)) {
    setObjectName(QStringLiteral("frmFileSelection"));
    setWindowTitle(QStringLiteral("VORNE Terminal"));
    auto* layout = new QVBoxLayout(this);
    lblTask = new QLabel(QString::fromStdString(m_taskLine), this);
    lblTask->setObjectName(QStringLiteral("lblTask"));
    layout->addWidget(lblTask);
    // No task job is known to this build yet: show the line briefly and close.
    QTimer::singleShot(1500, this, &QDialog::accept);
}

} // namespace station
