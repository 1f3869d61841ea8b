#pragma once
#include <QDialog>
#include <string>

class QLabel;

namespace station {

/// Task mode: performs the one job named by the task line, then closes, which ends the program.
class frmFileSelection : public QDialog {
    Q_OBJECT
public:
    explicit frmFileSelection(std::string taskLine, QWidget* parent = nullptr);
    const std::string& taskLine() const { return m_taskLine; }

    QLabel* lblTask = nullptr;

private:
    std::string m_taskLine;
};

} // namespace station
