#include "helpdesk/frmHelpdesk.h"

#include "core/Text.h"
#include "helpdesk/HelpdeskTicket.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace station {

namespace {

QString shown(const std::string& wire) {
    return QString::fromStdString(text::fromWire(wire));
}

std::string typed(const QString& text) {
    return text::toWire(text.toStdString());
}

template <class W> W* named(W* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

} // namespace

frmHelpdesk::frmHelpdesk(StationState& state, Ports& ports, const ServiceClient& service, QWidget* parent)
    : QDialog(parent), m_state(state), m_ports(ports), m_service(service) {
    setObjectName(QStringLiteral("frmHelpdesk"));
    setWindowTitle(QStringLiteral("VORNEOnline Helpdesk"));
    setAttribute(Qt::WA_DeleteOnClose);

    cmbSerial = named(new QComboBox(this), "cmbSerial");
    txtName = named(new QLineEdit(this), "txtName");
    txtEmail = named(new QLineEdit(this), "txtEmail");
    txtPhone = named(new QLineEdit(this), "txtPhone");
    txtSubject = named(new QLineEdit(this), "txtSubject");
    txtProblem = named(new QPlainTextEdit(this), "txtProblem");
    // Tab moves on, as in the other boxes: the keyboard alone must be able to leave it.
    txtProblem->setTabChangesFocus(true);
    cmbPriority = named(new QComboBox(this), "cmbPriority");
    cmdSubmit = named(new QPushButton(QStringLiteral("Submit"), this), "cmdSubmit");
    cmdCancel = named(new QPushButton(QStringLiteral("Cancel"), this), "cmdCancel");

    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("Store"), cmbSerial);
    fields->addRow(QStringLiteral("Your name"), txtName);
    fields->addRow(QStringLiteral("E-mail address"), txtEmail);
    fields->addRow(QStringLiteral("Call back number"), txtPhone);
    fields->addRow(QStringLiteral("Short description (50 chars or less)"), txtSubject);
    fields->addRow(QStringLiteral("Problem"), txtProblem);
    fields->addRow(QStringLiteral("Urgency"), cmbPriority);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdSubmit);
    buttons->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(buttons);

    connect(cmdSubmit, &QPushButton::clicked, this, &frmHelpdesk::cmdSubmit_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmHelpdesk::cmdCancel_Click);
    Form_Load();
}

void frmHelpdesk::Form_Load() {
    cmbSerial->clear();
    for (const auto& item : storeItems(m_state.stores))
        cmbSerial->addItem(shown(item));
    // Only a station with a single store has an obvious choice.
    cmbSerial->setCurrentIndex(cmbSerial->count() == 1 ? 0 : -1);
    cmbPriority->clear();
    for (const char* item : urgencyItems)
        cmbPriority->addItem(QString::fromLatin1(item));
    cmbPriority->setCurrentIndex(0);
    for (auto* box : {txtName, txtEmail, txtPhone, txtSubject})
        box->clear();
    txtProblem->clear();
    cmbSerial->setFocus();
}

TicketForm frmHelpdesk::form() const {
    return {typed(txtName->text()), typed(txtEmail->text()), typed(txtPhone->text()), typed(txtSubject->text()),
            // The helpdesk reads line ends as the station's users type them on Windows.
            typed(txtProblem->toPlainText().replace(QStringLiteral("\n"), QStringLiteral("\r\n"))),
            cmbSerial->currentIndex() < 0 ? std::string() : typed(cmbSerial->currentText()),
            typed(cmbPriority->currentText())};
}

void frmHelpdesk::cmdSubmit_Click() {
    const auto ticket = form();
    const auto errors = validateTicket(ticket);
    if (!text::trim(errors).empty()) {
        m_ports.dialogs.message(text::fromWire(errors), Dialogs::Icon::Information);
        return;
    }
    cmdSubmit->setEnabled(false);
    m_submitting = true;
    submitTicket(ticket, m_state, m_ports.adapters, m_service, m_ports.dialogs, m_ports.yield);
    m_submitting = false;
    close();
}

void frmHelpdesk::closeEvent(QCloseEvent* event) {
    if (m_submitting)
        event->ignore();
    else
        QDialog::closeEvent(event);
}

void frmHelpdesk::reject() {
    if (!m_submitting)
        QDialog::reject();
}

void frmHelpdesk::cmdCancel_Click() {
    close();
}

} // namespace station
