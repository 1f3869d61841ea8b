#pragma once
#include "platform/Ports.h"
#include "platform/StationConfig.h"
#include "service/ServiceClient.h"

#include <QDialog>
#include <string>

class QLabel;

namespace station {

/// Task mode: performs the one job named by the task line, then closes, which ends the program.
class frmFileSelection : public QDialog {
    Q_OBJECT
public:
    frmFileSelection(std::string taskLine, Ports& ports, const StationConfig& config, const ServiceClient& service,
                     QWidget* parent = nullptr);
    const std::string& taskLine() const { return m_taskLine; }

    /// Runs the job of the task line and closes the window, done or failed.
    void Form_Load();

    QLabel* lblTask = nullptr;

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::string m_taskLine;
    Ports& m_ports;
    const StationConfig& m_config;
    const ServiceClient& m_service;
    bool m_started = false;
};

} // namespace station
