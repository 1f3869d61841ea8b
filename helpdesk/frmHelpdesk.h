#pragma once
#include "core/StationState.h"
#include "platform/Ports.h"
#include "service/ServiceClient.h"

#include <QDialog>

class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace station {

struct TicketForm;

/// Opens a helpdesk ticket for one of the station's stores.
class frmHelpdesk : public QDialog {
    Q_OBJECT
public:
    frmHelpdesk(StationState& state, Ports& ports, const ServiceClient& service, QWidget* parent = nullptr);

    void Form_Load();
    void cmdSubmit_Click();
    void cmdCancel_Click();

    QComboBox* cmbSerial = nullptr;
    QLineEdit* txtName = nullptr;
    QLineEdit* txtEmail = nullptr;
    QLineEdit* txtPhone = nullptr;
    QLineEdit* txtSubject = nullptr;
    QPlainTextEdit* txtProblem = nullptr;
    QComboBox* cmbPriority = nullptr;
    QPushButton* cmdSubmit = nullptr;
    QPushButton* cmdCancel = nullptr;

protected:
    /// The window stays while its ticket is being submitted.
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    TicketForm form() const;
    bool m_submitting = false;

    StationState& m_state;
    Ports& m_ports;
    const ServiceClient& m_service;
};

} // namespace station
