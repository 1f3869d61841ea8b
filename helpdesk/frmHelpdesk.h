#pragma once
#include "core/StationState.h"

#include <QDialog>

namespace station {

class frmHelpdesk : public QDialog {
    Q_OBJECT
public:
    frmHelpdesk(StationState& state, QWidget* parent = nullptr);

private:
    StationState& m_state;
};

} // namespace station
