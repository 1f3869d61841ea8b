#pragma once
#include <QWidget>

class QLabel;

namespace station {

/// The on-screen pole display: two lines of text, written only by the host's "/D=" command.
class frmDisplayPole : public QWidget {
    Q_OBJECT
public:
    explicit frmDisplayPole(QWidget* parent = nullptr);

    QLabel* lblLine2 = nullptr;
    QLabel* lblLine1 = nullptr;
};

} // namespace station
