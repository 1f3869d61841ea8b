#pragma once
#include <QDialog>

class QLabel;

namespace station {

/// Shown while the program starts; closed when the main window is ready.
class frmSplash : public QDialog {
    Q_OBJECT
public:
    explicit frmSplash(QWidget* parent = nullptr);

    QLabel* lblProduct = nullptr;
    QLabel* lblTerminal = nullptr;
};

} // namespace station
