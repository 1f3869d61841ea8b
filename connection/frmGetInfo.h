#pragma once
#include "connection/GetInfo.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QPushButton;

namespace station {

/// "Get External Data": the five sign-on values, loaded from and saved to connection files.
class frmGetInfo : public QDialog {
    Q_OBJECT
public:
    frmGetInfo(Dialogs& dialogs, ConnectionSettings& settings, const std::string& programFolder,
               QWidget* parent = nullptr);

    void Form_Load();
    void cmdLogin_Click();
    void cmdPopulate_Click();
    void cmdSave_Click();

    QLineEdit* txtUsername = nullptr;
    QLineEdit* txtPassword = nullptr;
    QLineEdit* txtIP = nullptr;
    QLineEdit* txtDomain = nullptr;
    QLineEdit* txtStation = nullptr;
    QLabel* Label6 = nullptr;
    QPushButton* cmdLogin = nullptr;
    QPushButton* cmdPopulate = nullptr;
    QPushButton* cmdSave = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    ConnectionBoxes boxes() const;
    void showBoxes(const ConnectionBoxes& values);
    /// The connection file path in Label6, whole in its tool tip.
    void showPath();

    ConnectionSettings& m_settings;
    GetInfo m_logic;
    bool m_placed = false;
};

} // namespace station
