#pragma once
#include "core/StationState.h"

#include <QDialog>

namespace station {

class frmPrinters : public QDialog {
    Q_OBJECT
public:
    frmPrinters(StationState& state, QWidget* parent = nullptr);

private:
    StationState& m_state;
};

} // namespace station
