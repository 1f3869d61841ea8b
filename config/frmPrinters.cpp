#include "config/frmPrinters.h"

#include "core/Text.h"

#include <QComboBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

namespace station {

namespace {

QString shown(const std::string& wire) {
    return QString::fromStdString(text::fromWire(wire));
}

std::string wire(const QString& text) {
    return text::toWire(text.toStdString());
}

QComboBox* editableBox(QWidget* parent, const QString& name) {
    auto* box = new QComboBox(parent);
    box->setObjectName(name);
    box->setEditable(true);
    box->setInsertPolicy(QComboBox::NoInsert);
    return box;
}

} // namespace

frmPrinters::frmPrinters(StationState& state, Ports& ports, std::string testImagePath, QWidget* parent)
    : QDialog(parent), m_state(state), m_ports(ports),
      m_test({ports.micrReader, ports.dialogs, ports.yield}, *this, std::move(testImagePath)) {
    setObjectName(QStringLiteral("frmPrinters"));
    setWindowTitle(QStringLiteral("Printer Setup"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto* grid = new QGridLayout(this);
    const char* labels[] = {"Receipt:", "Label:", "Report:"};
    for (int i = 0; i < 4; ++i)
        cmbPrinter[static_cast<std::size_t>(i)] = editableBox(this, QStringLiteral("cmbPrinter%1").arg(i));
    for (int i = 0; i < 3; ++i) {
        grid->addWidget(new QLabel(QString::fromLatin1(labels[i]), this), i, 0);
        grid->addWidget(cmbPrinter[static_cast<std::size_t>(i)], i, 1);
    }
    grid->addWidget(new QLabel(QStringLiteral("Printer Prefix:"), this), 3, 0);
    txtPrefix = new QLineEdit(this);
    txtPrefix->setObjectName(QStringLiteral("txtPrefix"));
    grid->addWidget(txtPrefix, 3, 1);

    // The reader controls stand to the right.
    grid->addWidget(new QLabel(QStringLiteral("Reader Type"), this), 0, 2);
    grid->addWidget(cmbPrinter[3], 0, 3);
    grid->addWidget(new QLabel(QStringLiteral("Credit card:"), this), 1, 2);
    cmbCreditcard = editableBox(this, QStringLiteral("cmbCreditcard"));
    grid->addWidget(cmbCreditcard, 1, 3);
    cmdTestCheck = new QPushButton(QStringLiteral("Test Check/Credit Card"), this);
    cmdTestCheck->setObjectName(QStringLiteral("cmdTestCheck"));
    grid->addWidget(cmdTestCheck, 2, 3);

    lblNotice =
        new QLabel(QString::fromLatin1(printerNotice.data(), static_cast<qsizetype>(printerNotice.size())), this);
    lblNotice->setWordWrap(true);
    grid->addWidget(lblNotice, 4, 0, 1, 4);

    Command1 = new QPushButton(this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setMinimumHeight(80);
    // A flat button paints its background colour, as the prompt needs.
    Command1->setFlat(true);
    Command1->setAutoFillBackground(true);
    Command1->hide();
    grid->addWidget(Command1, 5, 0, 1, 4);

    cmdSave = new QPushButton(QStringLiteral("Save"), this);
    cmdSave->setObjectName(QStringLiteral("cmdSave"));
    Command1cmdExit = new QPushButton(QStringLiteral("Exit"), this);
    Command1cmdExit->setObjectName(QStringLiteral("Command1cmdExit"));
    grid->addWidget(cmdSave, 6, 2);
    grid->addWidget(Command1cmdExit, 6, 3);

    Timer2 = new QTimer(this);
    Timer2->setObjectName(QStringLiteral("Timer2"));

    connect(cmdSave, &QPushButton::clicked, this, &frmPrinters::cmdSave_Click);
    connect(Command1cmdExit, &QPushButton::clicked, this, &frmPrinters::Command1cmdExit_Click);
    connect(cmdTestCheck, &QPushButton::clicked, this, &frmPrinters::cmdTestCheck_Click);
    connect(Command1, &QPushButton::clicked, this, &frmPrinters::Command1_Click);
    connect(Timer2, &QTimer::timeout, this, &frmPrinters::Timer2_Timer);
    m_ports.micrReader.onReadComplete([this] { m_test.readComplete(); });
    // A port that fails under a waiting test ends the wait with its reason.
    m_ports.micrReader.onFault([this](const std::string& reason) {
        m_test.cancel();
        m_ports.dialogs.message("The card reader's port failed: " + reason, Dialogs::Icon::Critical);
    });
    Form_Load();
}

frmPrinters::~frmPrinters() {
    m_ports.micrReader.onReadComplete({});
    m_ports.micrReader.onFault({});
    m_ports.micrReader.close();
}

void frmPrinters::Form_Load() {
    auto& settings = m_state.settings;
    ensureDeviceRow(settings);
    for (std::size_t i = 0; i < 3; ++i)
        assignPrinters(cmbPrinter[i], std::string(printerFields[i]));
    cmbPrinter[3]->clear();
    for (const auto type : readerTypes)
        cmbPrinter[3]->addItem(QString::fromLatin1(type.data(), static_cast<qsizetype>(type.size())));
    cmbPrinter[3]->setCurrentText(shown(settings.get("prt3")));
    for (const auto& port : portChoices())
        cmbCreditcard->addItem(QString::fromStdString(port));
    cmbCreditcard->setCurrentText(shown(settings.get("CC")));
    txtPrefix->setText(shown(text::trim(settings.get("Prefix"))));
}

void frmPrinters::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (m_loaded)
        return;
    m_loaded = true;
    if (const auto* s = screen()) {
        const auto place = devicesWindowPlacement(s->geometry().width(), s->geometry().height(), width());
        move(place.left, place.top);
    }
}

void frmPrinters::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmPrinters::assignPrinters(QComboBox* cmb1, const std::string& rsField, bool bolAddEmail) {
    cmb1->clear();
    std::vector<std::string> installed;
    try {
        installed = m_ports.spooler.printers();
    } catch (const SpoolerUnavailable&) {
        // Without the spooler the boxes offer "<unassigned>" and keep the stored names.
    }
    for (const auto& name : printerChoices(installed, bolAddEmail))
        cmb1->addItem(QString::fromStdString(name));
    cmb1->setCurrentText(shown(printerBoxText(m_state.settings, rsField)));
}

void frmPrinters::assignscreen(QComboBox* cmb1, const std::string&) {
    cmb1->clear();
}

bool frmPrinters::printerUnchanged(const std::string& rsField, int index) const {
    return station::printerUnchanged(m_state.settings, rsField,
                                     wire(cmbPrinter[static_cast<std::size_t>(index)]->currentText()));
}

void frmPrinters::cmdSave_Click() {
    DeviceChoice choice;
    for (std::size_t i = 0; i < 4; ++i)
        choice.printers[i] = wire(cmbPrinter[i]->currentText());
    choice.prefix = wire(txtPrefix->text());
    choice.port = wire(cmbCreditcard->currentText());
    saveDeviceChoice(m_state, choice, m_ports.clientWindows, m_ports.dialogs);
    accept();
}

void frmPrinters::Command1cmdExit_Click() {
    reject();
}

void frmPrinters::cmdTestCheck_Click() {
    testReader(0);
}

void frmPrinters::testReader(std::int16_t mode) {
    m_test.testReader(mode, wire(cmbCreditcard->currentText()), wire(cmbPrinter[3]->currentText()));
}

void frmPrinters::Command1_Click() {
    m_test.cancel();
}

void frmPrinters::Timer2_Timer() {
    m_test.cancel();
}

void frmPrinters::showPrompt(const std::string& caption, PromptColour colour) {
    Command1->setText(QString::fromStdString(caption));
    auto palette = Command1->palette();
    palette.setColor(QPalette::Button, colour == PromptColour::Yellow ? Qt::yellow : Qt::green);
    Command1->setPalette(palette);
    Command1->show();
}

void frmPrinters::hidePrompt() {
    Command1->hide();
}

void frmPrinters::armTimeout(int milliseconds) {
    Timer2->start(milliseconds);
}

void frmPrinters::stopTimeout() {
    Timer2->stop();
}

} // namespace station
