#pragma once
#include "shell/StationState.h"

#include <QDialog>

namespace station {

class frmUploader : public QDialog {
    Q_OBJECT
public:
    frmUploader(StationState& state, int storeIndex, QWidget* parent = nullptr);

private:
    StationState& m_state;
    int m_storeIndex;
};

} // namespace station
