#pragma once
#include "host/CardReading.h"
#include "platform/Ports.h"
#include "platform/StationConfig.h"
#include "service/ServiceClient.h"

#include <QDialog>
#include <memory>
#include <string>

class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;

namespace station {

/// Task mode: performs the one job named by the task line, then closes, which ends the program.
class frmFileSelection : public QDialog, public ReaderTaskView {
    Q_OBJECT
public:
    frmFileSelection(std::string taskLine, Ports& ports, const StationConfig& config, const ServiceClient& service,
                     QWidget* parent = nullptr);
    ~frmFileSelection() override;
    const std::string& taskLine() const { return m_taskLine; }

    /// Runs the job of the task line; closes the window when it is done or failed. A read waits
    /// for the reader, the wedge's entry, a cancel or the time-out.
    void Form_Load();
    void Command1_Click();
    void Timer1_Timer();
    void cmdEndCC_Click();

    QLabel* lblTask = nullptr;
    /// The reader prompt; a click cancels the read.
    QPushButton* Command1 = nullptr;
    /// What a keyboard wedge types, ended by cmdEndCC.
    QLineEdit* txtCCInfo = nullptr;
    QPushButton* cmdEndCC = nullptr;
    QTimer* Timer1 = nullptr;

    /// Escape (and the close box) reach the prompt, as its caption says.
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showPrompt(const std::string& caption, PromptColour colour) override;
    void showWedgeBox() override;
    void armTimeout(int milliseconds) override;
    void stopTimeout() override;
    void finish() override;

    std::string m_taskLine;
    Ports& m_ports;
    const StationConfig& m_config;
    const ServiceClient& m_service;
    std::unique_ptr<ReaderTask> m_reader;
    bool m_started = false;
    bool m_wedgePending = false;
};

} // namespace station
