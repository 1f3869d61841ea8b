#pragma once
#include "core/StationState.h"
#include "platform/Ports.h"

#include <QDialog>

class QLabel;
class QPushButton;

namespace station {

/// Names the program and its version, shows the station's identifier and starts the system's
/// information tool.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    frmAbout(StationState& state, Ports& ports, QWidget* parent = nullptr);

    void Form_Load();
    void cmdSysInfo_Click();
    void cmdOK_Click();

    QLabel* lblTitle = nullptr;
    QLabel* lblVersion = nullptr;
    QLabel* lblMac = nullptr;
    QLabel* lblDescription = nullptr;
    QLabel* lblDisclaimer = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdSysInfo = nullptr;

private:
    StationState& m_state;
    Ports& m_ports;
};

} // namespace station
