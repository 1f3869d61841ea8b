// The main window's host command channel: the line to the store host, its redial and the
// commands the host sends.
#include "host/DocumentPrinting.h"
#include "host/HostChannel.h"
#include "host/frmDisplayPole.h"
#include "shell/frmTerminal.h"

#include <QLabel>
#include <QVariant>

namespace station {
namespace {

// The panel keeps the text it had before a command in a property of its own.
constexpr const char* tagProperty = "Tag";

class TerminalChannelView : public ChannelView {
public:
    TerminalChannelView(QLabel& panel, QWidget& owner) : m_panel(panel), m_owner(owner) {}

    std::string panelText() const override { return m_panel.text().toStdString(); }
    void setPanelText(const std::string& text) override { m_panel.setText(QString::fromStdString(text)); }
    std::string panelTag() const override { return m_panel.property(tagProperty).toString().toStdString(); }
    void setPanelTag(const std::string& tag) override { m_panel.setProperty(tagProperty, QString::fromStdString(tag)); }
    void setPanelToolTip(const std::string& text) override { m_panel.setToolTip(QString::fromStdString(text)); }
    void showPanel() override { m_panel.setVisible(true); }
    void showPole() override {
        if (m_pole)
            return;
        m_pole = new frmDisplayPole(&m_owner);
        m_pole->show();
    }
    void setPoleLine(int index, const std::string& text) override {
        if (!m_pole)
            return;
        (index == 0 ? m_pole->lblLine1 : m_pole->lblLine2)->setText(QString::fromStdString(text));
    }

private:
    QLabel& m_panel;
    QWidget& m_owner;
    QPointer<frmDisplayPole> m_pole;
};

} // namespace

struct frmTerminal::Channel {
    explicit Channel(frmTerminal& w)
        : view(*w.panel(QStringLiteral("winsock")), w),
          printing({w.m_service, w.m_ports.http, w.m_ports.textPrinter, w.m_ports.spooler, w.m_ports.dialogs},
                   w.m_config.reportsUrl),
          logic(w.m_state, w.m_ports.hostSocket, w.m_ports.dialogs, w.m_ports.yield, view,
                [this, &w](const std::string& storeId, const std::string& reportName) {
                    printing.printReport(storeId, reportName, [&w] { return w.m_state.settings.device("prt2"); });
                }) {}

    TerminalChannelView view;
    DocumentPrinting printing;
    HostChannel logic;
};

void frmTerminal::setUpChannel() {
    m_channel = std::make_shared<Channel>(*this);
    m_channel->logic.attach();
}

void frmTerminal::sendWinsock(const std::string& strdata) {
    if (m_channel)
        m_channel->logic.sendWinsock(strdata);
    else
        m_state.reconnectPending = true;
}

void frmTerminal::redialStep() {
    if (m_channel)
        m_channel->logic.redialStep();
}

} // namespace station
