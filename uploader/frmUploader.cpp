#include "uploader/frmUploader.h"

namespace station {

frmUploader::frmUploader(StationState& state, int storeIndex, QWidget* parent)
    : QDialog(parent), m_state(state), m_storeIndex(storeIndex) {
    setObjectName(QStringLiteral("frmUploader"));
    setWindowTitle(QStringLiteral("Uploader"));
    setAttribute(Qt::WA_DeleteOnClose);
}

} // namespace station
