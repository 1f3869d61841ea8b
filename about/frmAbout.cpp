#include "about/frmAbout.h"

#include "about/AboutBox.h"
#include "core/ProgramVersion.h"
#include "core/Text.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace station {

namespace {

template <class W> W* named(W* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

QString lines(const std::string& text) {
    return QString::fromStdString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

bool fileExists(const std::string& path) {
    return QFileInfo(QString::fromStdString(path)).isFile();
}

std::string searchPath() {
    return qEnvironmentVariable("PATH").toStdString();
}

} // namespace

frmAbout::frmAbout(StationState& state, Ports& ports, QWidget* parent)
    : QDialog(parent), m_state(state), m_ports(ports) {
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About VORNETerminal"));
    setAttribute(Qt::WA_DeleteOnClose);

    lblTitle = named(new QLabel(this), "lblTitle");
    QFont big = lblTitle->font();
    big.setPointSize(big.pointSize() * 2);
    big.setBold(true);
    lblTitle->setFont(big);
    lblVersion = named(new QLabel(this), "lblVersion");
    lblMac = named(new QLabel(this), "lblMac");
    lblMac->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblDescription = named(new QLabel(this), "lblDescription");
    lblDisclaimer = named(new QLabel(this), "lblDisclaimer");
    cmdOK = named(new QPushButton(QStringLiteral("OK"), this), "cmdOK");
    cmdSysInfo = named(new QPushButton(QStringLiteral("&System Info..."), this), "cmdSysInfo");
    cmdOK->setDefault(true);

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdSysInfo);
    buttons->addStretch();
    auto* texts = new QVBoxLayout;
    for (auto* label : {lblTitle, lblVersion, lblMac, lblDescription})
        texts->addWidget(label);
    auto* top = new QHBoxLayout;
    top->addLayout(texts, 1);
    top->addLayout(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(lblDisclaimer);

    connect(cmdOK, &QPushButton::clicked, this, &frmAbout::cmdOK_Click);
    connect(cmdSysInfo, &QPushButton::clicked, this, &frmAbout::cmdSysInfo_Click);
    Form_Load();
}

void frmAbout::Form_Load() {
    lblVersion->setText(QString::fromStdString(aboutVersionText()));
    lblTitle->setText(QString::fromLatin1(applicationTitle));
    lblMac->setText(QString::fromStdString(text::fromWire(m_state.stationId)));
    lblDescription->setText(lines(aboutDescription()));
    lblDisclaimer->setText(lines(aboutDisclaimer()));
    // Without a registry there is only the tool this system may have installed; with none, the
    // button would only ever say so.
    if (!m_ports.registry.present() && !systemInformationTool(m_ports.registry, fileExists, searchPath()))
        cmdSysInfo->hide();
}

void frmAbout::cmdSysInfo_Click() {
    StartSysInfo(m_ports.registry, m_ports.processLauncher, m_ports.dialogs, fileExists, searchPath());
}

void frmAbout::cmdOK_Click() {
    close();
}

} // namespace station
