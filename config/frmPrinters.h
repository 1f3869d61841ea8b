#pragma once
#include "config/DeviceAssignment.h"
#include "core/StationState.h"
#include "platform/Ports.h"

#include <QDialog>
#include <array>
#include <memory>
#include <string>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;

namespace station {

/// "Printer Setup": the station's printers, card reader, its port and the printer prefix, and a
/// reader test. Edits the settings row in place; the caller sends it to the service afterwards.
class frmPrinters : public QDialog, public ReaderTestView {
    Q_OBJECT
public:
    /// `testImagePath`: where the reader test stores a check's image.
    frmPrinters(StationState& state, Ports& ports, std::string testImagePath, QWidget* parent = nullptr);
    ~frmPrinters() override;

    void Form_Load();
    void cmdSave_Click();
    void Command1cmdExit_Click();
    void cmdTestCheck_Click();
    void Command1_Click();
    void Timer2_Timer();

    /// Fills a printer box from the installed printers and selects the stored value of `rsField`.
    void assignPrinters(QComboBox* cmb1, const std::string& rsField, bool bolAddEmail = false);
    /// Kept for the screen boxes the window once had: it only empties the box.
    void assignscreen(QComboBox* cmb1, const std::string& rsField);
    bool printerUnchanged(const std::string& rsField, int index) const;
    void testReader(std::int16_t mode);

    std::array<QComboBox*, 4> cmbPrinter{};
    QComboBox* cmbCreditcard = nullptr;
    QLineEdit* txtPrefix = nullptr;
    QPushButton* cmdSave = nullptr;
    QPushButton* Command1cmdExit = nullptr;
    QPushButton* cmdTestCheck = nullptr;
    QPushButton* Command1 = nullptr;
    QLabel* lblNotice = nullptr;
    QTimer* Timer2 = nullptr;

protected:
    void showEvent(QShowEvent* event) override;
    /// The window binds no key to cancelling: Escape neither closes it nor cancels a read.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showPrompt(const std::string& caption, PromptColour colour) override;
    void hidePrompt() override;
    void armTimeout(int milliseconds) override;
    void stopTimeout() override;

    StationState& m_state;
    Ports& m_ports;
    ReaderTest m_test;
    bool m_loaded = false;
};

} // namespace station
