#pragma once
#include "core/StationState.h"

#include <QDialog>

namespace station {

class frmAbout : public QDialog {
    Q_OBJECT
public:
    frmAbout(StationState& state, QWidget* parent = nullptr);

private:
    StationState& m_state;
};

} // namespace station
