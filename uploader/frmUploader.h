#pragma once
#include "core/StationState.h"

#include <QDialog>

namespace station {

class frmUploader : public QDialog {
    Q_OBJECT
public:
    frmUploader(StationState& state, int storeIndex, QWidget* parent = nullptr);

    /// The store whose files the window uploads: the drop-down may pick another while it is open.
    int storeIndex() const { return m_storeIndex; }
    void setStoreIndex(int storeIndex) { m_storeIndex = storeIndex; }

private:
    StationState& m_state;
    int m_storeIndex;
};

} // namespace station
