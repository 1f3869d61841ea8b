#include "config/frmPrinters.h"

namespace station {

frmPrinters::frmPrinters(StationState& state, QWidget* parent) : QDialog(parent), m_state(state) {
    setObjectName(QStringLiteral("frmPrinters"));
    setWindowTitle(QStringLiteral("Printer Setup"));
    setAttribute(Qt::WA_DeleteOnClose);
}

} // namespace station
